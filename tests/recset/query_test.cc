// Queries: by value, by words, what falls back to words, what the word breaker is asked, and what a failure leaves.
#include "recset_fixture.h"

namespace {

using enginetest::Calls;
using enginetest::RecordSetTest;
using enginetest::Texts;

constexpr int16_t kWords = 0;
constexpr int16_t kNumber = 1;
constexpr int16_t kDate = 2;
constexpr int16_t kTime = 3;
constexpr int16_t kUntyped = 4;

class QuerySet : public RecordSetTest {
 protected:
  QuerySet() { Make({MDbFieldText, MDbFieldNumber, MDbFieldDate, MDbFieldTime, MDbFieldNone}); }

  // Adds one record per text, the text in the field and the others empty.
  void AddTo(int16_t field, const Texts& texts) {
    for (const std::u16string& text : texts) {
      Texts fields(5);
      fields.at(static_cast<size_t>(field)) = text;
      Add(fields);
    }
  }
  Texts Found(int16_t field, int16_t mode, const MDbChar* text) {
    EXPECT_EQ(MDbStatusOk, Query(field, mode, text));
    const Texts found = Contents(field);
    EXPECT_EQ(MDbStatusOk, Destroy());
    return found;
  }
};

// ---- by value

TEST_F(QuerySet, ANumberByValueMatchesTheFirstIntegerOfATextAndNotItsDigitsAlone) {
  AddTo(kNumber, {u"42", u"0042", u"Total: 42 units", u"42.9", u"4 2 0", u"", u"none", u"-42", u"1,042", u"420"});
  EXPECT_EQ((Texts{u"42", u"0042", u"Total: 42 units", u"42.9"}), Found(kNumber, MDbQueryByValue, u"42"));
  EXPECT_EQ((Texts{u"4 2 0", u"420"}), Found(kNumber, MDbQueryByValue, u"420"));
  EXPECT_EQ((Texts{u"1,042"}), Found(kNumber, MDbQueryByValue, u"1042"));
  EXPECT_EQ((Texts{u"-42"}), Found(kNumber, MDbQueryByValue, u"x - 42"));
}

TEST_F(QuerySet, DatesAndTimesByValueMatchHoweverTheyAreWritten) {
  AddTo(kDate, {u"7/4/1976", u"07/04/1976", u"7-4-1976", u"7/5/1976", u"4/7/1976"});
  EXPECT_EQ((Texts{u"7/4/1976", u"07/04/1976", u"7-4-1976"}), Found(kDate, MDbQueryByValue, u"7.4.1976"));
  AddTo(kTime, {u"7:05 PM", u"19:05", u"18:65", u"7:05", u"7:05 AM"});
  EXPECT_EQ((Texts{u"7:05 PM", u"19:05", u"18:65"}), Found(kTime, MDbQueryByValue, u"19:05:00"));
}

TEST_F(QuerySet, AValueComparisonAsksNoWordBreaker) {
  AddTo(kNumber, {u"42", u"43"});
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, Query(kNumber, MDbQueryByValue, u"42"));
  EXPECT_EQ((Calls{R"(FWOpenSession("42"))", "FWCloseSession(session1)"}),
            seam.Texts({"FWOpenSession", "FWFindWord", "FWCloseSession"}));
}

TEST_F(QuerySet, TextWithoutADigitInANumberQueryFallsBackToWordsForEveryRecord) {
  AddTo(kNumber, {u"42 apples", u"apples", u"12", u"pears"});
  seam::PlatformSeam seam;
  EXPECT_EQ((Texts{u"42 apples", u"apples"}), Found(kNumber, MDbQueryByValue, u"apples"));
  EXPECT_EQ(4u, seam.CountOf("FWFindWord"));
}

TEST_F(QuerySet, ANumberQueryThatOverflowsOrIsALimitFallsBackToWords) {
  AddTo(kNumber, {u"2147483647", u"-2147483648", u"99999999999", u"2147483646"});
  EXPECT_EQ((Texts{u"2147483647"}), Found(kNumber, MDbQueryByValue, u"2147483647"));
  EXPECT_EQ((Texts{u"99999999999"}), Found(kNumber, MDbQueryByValue, u"99999999999"));
  EXPECT_EQ((Texts{u"2147483646"}), Found(kNumber, MDbQueryByValue, u"2,147,483,646"));
}

TEST_F(QuerySet, ARecordWhoseNumberHoldsNoDigitOrOverflowsIsTestedByWords) {
  AddTo(kNumber, {u"42", u"none", u"99999999999", u"43"});
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, Query(kNumber, MDbQueryByValue, u"42"));
  EXPECT_EQ((Calls{R"(FWFindWord(session1, "none"))", R"(FWFindWord(session1, "99999999999"))"}),
            seam.Texts({"FWFindWord"}));
  EXPECT_EQ(Texts{u"42"}, Contents(kNumber));
}

TEST_F(QuerySet, ARecordWithAnInvalidDateOrTimeIsTestedByWords) {
  AddTo(kDate, {u"2/29/2023", u"2/28/2023", u"soon"});
  AddTo(kTime, {u"13 PM", u"1 PM", u"late"});
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, Query(kDate, MDbQueryByValue, u"2/28/2023"));
  EXPECT_EQ((Calls{R"(FWFindWord(session1, "2/29/2023"))", R"(FWFindWord(session1, "soon"))",
                   R"(FWFindWord(session1, ""))", R"(FWFindWord(session1, ""))", R"(FWFindWord(session1, ""))"}),
            seam.Texts({"FWFindWord"}));
  ASSERT_EQ(MDbStatusOk, Destroy());
  seam.Clear();
  ASSERT_EQ(MDbStatusOk, Query(kTime, MDbQueryByValue, u"13:00"));
  EXPECT_EQ(5u, seam.CountOf("FWFindWord"));
  EXPECT_EQ(Texts{u"1 PM"}, Contents(kTime));
}

TEST_F(QuerySet, WithoutAttributesDatesAndTimesAreSearchedByWordsAndNumbersStillByValue) {
  AddTo(kDate, {u"7/4/1976", u"07/04/1976"});
  AddTo(kNumber, {u"42", u"0042"});
  ASSERT_EQ(MDbStatusOk, MDbAttrTblDelete(&env, ref()));
  EXPECT_EQ((Texts{u"7/4/1976"}), Found(kDate, MDbQueryByValue, u"7/4/1976"));
  EXPECT_EQ((Texts{u"42", u"0042"}), Found(kNumber, MDbQueryByValue, u"42"));
}

// ---- by words

TEST_F(QuerySet, ModeOneOnANumberOrADateAlwaysSearchesByWords) {
  AddTo(kNumber, {u"42", u"0042", u"42 apples"});
  AddTo(kDate, {u"7/4/1976", u"07/04/1976"});
  EXPECT_EQ((Texts{u"42", u"42 apples"}), Found(kNumber, MDbQueryByWords, u"42"));
  seam::PlatformSeam seam;
  EXPECT_EQ((Texts{u"7/4/1976"}), Found(kDate, MDbQueryByWords, u"7/4/1976"));
  EXPECT_EQ(5u, seam.CountOf("FWFindWord"));
  EXPECT_EQ((Texts{u"7/4/1976"}), Found(kDate, 17, u"7/4/1976")) << "any mode but 0";
}

TEST_F(QuerySet, OneSessionIsOpenedOnTheTextAskedOncePerRecordAndClosed) {
  AddTo(kWords, {u"red oak", u"elm", u"OAKEN"});
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, Query(kWords, MDbQueryByWords, u"oak"));
  EXPECT_EQ((Calls{R"(FWOpenSession("oak"))", R"(FWFindWord(session1, "red oak"))", R"(FWFindWord(session1, "elm"))",
                   R"(FWFindWord(session1, "OAKEN"))", "FWCloseSession(session1)"}),
            seam.Texts({"FWOpenSession", "FWFindWord", "FWCloseSession"}));
  EXPECT_EQ((Texts{u"red oak", u"OAKEN"}), Contents(kWords));
}

TEST_F(QuerySet, TextAndUntypedFieldsAreSearchedByWordsInEitherMode) {
  AddTo(kWords, {u"red oak", u"elm"});
  AddTo(kUntyped, {u"red oak", u"elm"});
  for (const int16_t mode : {int16_t{MDbQueryByValue}, int16_t{MDbQueryByWords}}) {
    EXPECT_EQ((Texts{u"red oak"}), Found(kWords, mode, u"oak"));
    EXPECT_EQ((Texts{u"red oak"}), Found(kUntyped, mode, u"oak"));
  }
}

TEST_F(QuerySet, AnEmptyTextFindsWhatTheWordBreakerFinds) {
  AddTo(kWords, {u"oak", u""});
  EXPECT_EQ((Texts{u"oak", u""}), Found(kWords, MDbQueryByWords, u"")) << "ours finds every text";
  seam::PlatformSeam seam;
  seam.Replace("FWFindWord", 0, {1, 0});
  seam.Replace("FWFindWord", 1, {0, 0});
  EXPECT_EQ((Texts{u""}), Found(kWords, MDbQueryByWords, u""));
}

TEST_F(QuerySet, AnyAnswerOfTheWordBreakerButZeroIsNoMatch) {
  AddTo(kWords, {u"a", u"b", u"c"});
  seam::PlatformSeam seam;
  seam.Replace("FWFindWord", 0, {0xFFFF, 0});
  seam.Replace("FWFindWord", 1, {0, 0});
  seam.Replace("FWFindWord", 2, {2, 0});
  EXPECT_EQ((Texts{u"b"}), Found(kWords, MDbQueryByWords, u"zzz"));
}

TEST_F(QuerySet, ASessionThatCannotBeOpenedGivesAnEmptyViewAndNoError) {
  AddTo(kWords, {u"oak"});
  seam::PlatformSeam seam;
  seam.Fail("FWOpenSession");
  EXPECT_EQ(MDbStatusOk, Query(kWords, MDbQueryByWords, u"oak"));
  EXPECT_EQ(1, recset.valid);
  EXPECT_EQ(1, recset.hasView);
  EXPECT_EQ(0u, SetCount());
  EXPECT_EQ(0u, seam.CountOf("FWFindWord"));
  EXPECT_EQ(0u, seam.CountOf("FWCloseSession"));
  for (const std::string& text : seam.StoreTexts()) EXPECT_EQ(std::string::npos, text.find("(DATA_0")) << text;
}

TEST_F(QuerySet, WithoutASessionThePreparationsOwnStatusComesOut) {
  const struct {
    const char* why;
    int16_t field;
    const char16_t* text;
    uint32_t status;
  } rows[] = {{"a number that converted", kNumber, u"42", 0},
              {"no digit", kNumber, u"x", 11},
              {"too big", kNumber, u"99999999999", 10},
              {"no date", kDate, u"soon", 2},
              {"no time", kTime, u"late", 3},
              {"an untyped field has no size", kUntyped, u"x", 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    seam::PlatformSeam seam;
    seam.Fail("FWOpenSession");
    EXPECT_EQ(row.status, static_cast<uint32_t>(Query(row.field, MDbQueryByValue, row.text)));
    EXPECT_EQ(row.status == 0 ? 1 : 0, recset.valid);
    (void)Destroy();
    seam.Stop();
    ASSERT_EQ(MDbStatusOk, MDbAgentCloseDb(&env));
    MDbRecsetInitialize(&recset);
    ASSERT_NO_FATAL_FAILURE(OpenDatabase());
  }
}

TEST_F(QuerySet, AConversionThatFailedInThePreparationIsNotReportedOnceTheSessionIsOpen) {
  AddTo(kNumber, {u"apples"});
  EXPECT_EQ((Texts{u"apples"}), Found(kNumber, MDbQueryByValue, u"apples"));
  EXPECT_EQ((Texts{}), Found(kNumber, MDbQueryByValue, u"99999999999"));
}

TEST_F(QuerySet, AFieldThatARecordLacksIsSearchedAsAnEmptyText) {
  Add({u"oak"});  // no number
  AddTo(kNumber, {u"42"});
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, Query(kNumber, MDbQueryByValue, u"42"));
  EXPECT_EQ(Calls{R"(FWFindWord(session1, ""))"}, seam.Texts({"FWFindWord"}));
  EXPECT_EQ(Texts{u"42"}, Contents(kNumber));
}

// ---- failures on the way

TEST_F(QuerySet, ARecordWhoseTextFindsNoMemoryIsLeftOutWithoutAnError) {
  AddTo(kWords, {u"oak 1", u"oak 2"});
  size_t skipped = 0;
  for (size_t n = 0; n < 24; ++n) {
    seam::PlatformSeam seam;
    seam.Fail("LocalAlloc", n);
    const MDbStatus status = Query(kWords, MDbQueryByWords, u"oak");
    if (!seam.FaultHappened()) break;
    seam.Stop();
    EXPECT_EQ(MDbStatusOk, status) << n;
    skipped += 2 - SetCount();
    ASSERT_EQ(MDbStatusOk, Destroy());
  }
  EXPECT_GE(skipped, 2u) << "each record was left out once";
}

TEST_F(QuerySet, TheFirstFailureOfTheScanEndsTheBuildAndTheViewKeepsWhatItHas) {
  AddTo(kWords, {u"oak 1", u"oak 2", u"oak 3"});
  seam::PlatformSeam seam;
  seam.Fail("CeWriteRecordProps", 1);
  EXPECT_EQ(MDbStatusFailed, Query(kWords, MDbQueryByWords, u"oak"));
  EXPECT_EQ(2u, seam.CountOf("FWFindWord"));
  EXPECT_EQ(1u, seam.CountOf("FWCloseSession")) << "the session is closed on every path";
  EXPECT_EQ(0, recset.valid);
  seam.Stop();
  CEOIDINFO info{};
  ASSERT_TRUE(CeOidGetInfoEx(&ref()->volume, recset.view.viewOid, &info));
  EXPECT_EQ(1, info.infDatabase.wNumRecords);
  ASSERT_EQ(MDbStatusOk, MDbAgentCloseDb(&env));  // takes the half-built view's handle along
  MDbRecsetInitialize(&recset);
}

TEST_F(QuerySet, TheCriteriaAreCopiedAndTheirTextIsNot) {
  AddTo(kWords, {u"oak", u"elm"});
  MDbChar text[] = u"oak";
  MDbQuery query = {kWords, MDbQueryByWords, text};
  ASSERT_EQ(MDbStatusOk, MDbAgentQuery(&env, &recset, &query));
  query.field = 99;
  EXPECT_EQ(1, recset.hasQuery);
  EXPECT_EQ(kWords, recset.query.field);
  EXPECT_EQ(text, recset.query.text);
  std::copy_n(u"elm", 3, text);
  ASSERT_EQ(MDbStatusOk, Sort(kWords));
  EXPECT_EQ((Texts{u"elm"}), Contents(kWords)) << "a sort reads the text as it is by then";
}

// ---- the mark

TEST_F(QuerySet, ARecordSetWithoutCriteriaWhoseFlagFilterIsSetShowsMarkedRecordsAlone) {
  AddTo(kWords, {u"a", u"b", u"c"});
  {
    const seam::Unseen unseen;
    const CEOID oid = CeSeekDatabase(table()->dataHandle, CEDB_SEEK_BEGINNING, 1, nullptr);
    CEPROPVAL mark{};
    mark.propid = 0x1000B;
    mark.val.boolVal = TRUE;
    ASSERT_EQ(oid, CeWriteRecordProps(table()->dataHandle, oid, 1, &mark));
  }
  ASSERT_EQ(MDbStatusOk, Query(kWords, MDbQueryByWords, u""));
  ASSERT_EQ(1u, recset.view.flagFilter);
  recset.hasQuery = 0;  // the criteria are gone; the flag is carried from one build of the view to the next
  ASSERT_EQ(MDbStatusOk, Sort(kWords));
  EXPECT_EQ((Texts{u"b"}), Contents(kWords));
  EXPECT_EQ(1u, recset.view.flagFilter);
  recset.view.flagFilter = 2;  // bit 0 alone counts
  ASSERT_EQ(MDbStatusOk, Sort(kWords));
  EXPECT_EQ((Texts{u"a", u"b", u"c"}), Contents(kWords));
}

}  // namespace
