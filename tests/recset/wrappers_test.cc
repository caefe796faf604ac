// Field options, display orders, dates and times through a record set and its environment.
#include "recset_fixture.h"

namespace {

using enginetest::RecordSetTest;

class Wrappers : public RecordSetTest {
 protected:
  Wrappers() { Make({MDbFieldText, MDbFieldNumber, MDbFieldText}); }
};

TEST_F(Wrappers, OptionsAreReadAndWrittenThroughTheFieldOptionTable) {
  ASSERT_EQ(MDbStatusOk, QueryAll());
  MDbFldOption option{};
  ASSERT_EQ(MDbStatusOk, MDbRecsetGetFldOption(&env, &recset, 1, &option));
  EXPECT_EQ(16, option.bytes[0]);
  option.bytes[0] = 99;
  ASSERT_EQ(MDbStatusOk, MDbRecsetSetFldOption(&env, &recset, 1, &option));
  MDbFldOptionEx option_ex{};
  ASSERT_EQ(MDbStatusOk, MDbRecsetGetFldOptionEx(&env, &recset, 2, &option_ex));
  EXPECT_EQ(2, option_ex.displayOrder);
  option_ex.setting2 = 88;
  ASSERT_EQ(MDbStatusOk, MDbRecsetSetFldOptionEx(&env, &recset, 2, &option_ex));
  ASSERT_EQ(MDbStatusOk, Destroy());
  ASSERT_NO_FATAL_FAILURE(Reopen());
  ASSERT_EQ(MDbStatusOk, QueryAll());
  ASSERT_EQ(MDbStatusOk, MDbRecsetGetFldOption(&env, &recset, 1, &option));
  EXPECT_EQ(99, option.bytes[0]);
  ASSERT_EQ(MDbStatusOk, MDbRecsetGetFldOptionEx(&env, &recset, 2, &option_ex));
  EXPECT_EQ(88, option_ex.setting2);
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetFldOption(&env, &recset, 3, &option));
}

TEST_F(Wrappers, DefaultsAreThoseOfTheFieldCount) {
  ASSERT_EQ(MDbStatusOk, QueryAll());
  MDbFldOptionEx option{};
  option.setting8 = 77;
  ASSERT_EQ(MDbStatusOk, MDbRecsetGetDefOptionEx(&env, &recset, &option, 5));
  EXPECT_EQ(75, option.widthShare);
  EXPECT_EQ(1, option.setting1);
  EXPECT_EQ(5, option.displayOrder);
  EXPECT_EQ(77, option.setting8);
}

TEST_F(Wrappers, DisplayOrdersAreSetFieldByFieldAndReadBack) {
  ASSERT_EQ(MDbStatusOk, QueryAll());
  const uint16_t wanted[3] = {2, 0x101, 0};
  ASSERT_EQ(MDbStatusOk, MDbRecsetSetDisplayOrders(&env, &recset, wanted));
  uint16_t orders[4] = {77, 77, 77, 77};
  ASSERT_EQ(MDbStatusOk, MDbRecsetGetDisplayOrders(&env, &recset, orders, 4));
  EXPECT_EQ(2, orders[0]);
  EXPECT_EQ(1, orders[1]) << "the low byte";
  EXPECT_EQ(0, orders[2]);
  EXPECT_EQ(3, orders[3]) << "a field without options keeps its place";
}

TEST_F(Wrappers, SettingDisplayOrdersStopsAtTheFirstFailureWithTheFieldsBeforeItChanged) {
  ASSERT_EQ(MDbStatusOk, QueryAll());
  const uint16_t wanted[3] = {9, 8, 7};
  {
    seam::PlatformSeam seam;
    seam.Fail("CeWriteRecordProps", 1);
    EXPECT_EQ(MDbStatusFailed, MDbRecsetSetDisplayOrders(&env, &recset, wanted));
    EXPECT_EQ(2u, seam.CountOf("CeWriteRecordProps"));
  }
  uint16_t orders[3] = {77, 77, 77};
  ASSERT_EQ(MDbStatusOk, Destroy());
  ASSERT_NO_FATAL_FAILURE(Reopen());
  ASSERT_EQ(MDbStatusOk, QueryAll());
  ASSERT_EQ(MDbStatusOk, MDbRecsetGetDisplayOrders(&env, &recset, orders, 3));
  EXPECT_EQ(9, orders[0]);
  EXPECT_EQ(1, orders[1]);
  EXPECT_EQ(2, orders[2]);
}

TEST_F(Wrappers, AnOptionThatWasNotReadIsNotWrittenBack) {
  const uint16_t wanted[3] = {9, 8, 7};
  const struct {
    const char* call;
    size_t n;
  } faults[] = {{"LocalAlloc", 0}, {"CeReadRecordPropsEx", 1}};
  for (const auto& fault : faults) {
    SCOPED_TRACE(fault.call);
    ASSERT_EQ(MDbStatusOk, QueryAll());
    {
      seam::PlatformSeam seam;
      seam.Fail(fault.call, fault.n);
      seam.Fail(fault.call, fault.n + 1);
      seam.Fail(fault.call, fault.n + 2);
      (void)MDbRecsetSetDisplayOrders(&env, &recset, wanted);
    }
    ASSERT_EQ(MDbStatusOk, Destroy());
    ASSERT_NO_FATAL_FAILURE(Reopen());
    ASSERT_EQ(MDbStatusOk, QueryAll());
    MDbFldOptionEx option{};
    ASSERT_EQ(MDbStatusOk, MDbRecsetGetFldOptionEx(&env, &recset, 0, &option));
    EXPECT_EQ(75, option.widthShare);
    EXPECT_EQ(1, option.setting1);
    ASSERT_EQ(MDbStatusOk, Destroy());
  }
}

// ---- dates and times

TEST_F(Wrappers, ConversionsOnAnEnvironmentThatIsNotOpenHaveTheirOwnStatuses) {
  ASSERT_EQ(MDbStatusOk, MDbAgentCloseDb(&env));
  DateRec date{};
  TimeRec time{};
  MDbChar text[32] = u"as was";
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusBadDateText, MDbRecsetDateStrToDateRec(&env, u"1/1/2024", &date, 0, nullptr));
  EXPECT_EQ(MDbStatusBadTimeText, MDbRecsetTimeStrToTRec(&env, u"1:00", &time, 1, nullptr, nullptr));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetDRecToDateStr(&env, &date, text));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetTRecToTimeStr(&env, &time, text));
  EXPECT_TRUE(seam.Texts().empty());
  EXPECT_EQ(std::u16string(u"as was"), std::u16string(text));
}

TEST_F(Wrappers, ConversionsWithoutAttributesFailWithOne) {
  ASSERT_EQ(MDbStatusOk, MDbAttrTblDelete(&env, ref()));
  DateRec date{};
  TimeRec time{};
  MDbChar text[32] = u"as was";
  EXPECT_EQ(MDbStatusFailed, MDbRecsetDateStrToDateRec(&env, u"1/1/2024", &date, 0, nullptr));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetTimeStrToTRec(&env, u"1:00", &time, 1, nullptr, nullptr));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetDRecToDateStr(&env, &date, text));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetTRecToTimeStr(&env, &time, text));
}

TEST_F(Wrappers, DateTextsBecomeRecordsAndStatusTwoWhenTheyAreNoDates) {
  const struct {
    const char16_t* text;
    uint32_t status;
    int32_t date_status;
  } rows[] = {{u"12/25/2024", 0, MDbDateValid}, {u"12-25", 0, MDbDateThisYear}, {u"   ", 2, MDbDateBlank},
              {u"0/0/0000", 2, MDbDateZero},    {u"", 2, MDbDateInvalid},       {u"2/29/2023", 2, MDbDateInvalid}};
  for (const auto& row : rows) {
    DateRec date{};
    DateFormat format{};
    EXPECT_EQ(row.status, static_cast<uint32_t>(MDbRecsetDateStrToDateRec(&env, row.text, &date, 0, &format)));
    EXPECT_EQ(row.date_status, date.status);
    const MDbChar separator = format.separator;  // the record is packed
    EXPECT_EQ(u'/', separator);
  }
}

TEST_F(Wrappers, TheBaseOf1900IsTheCallers) {
  DateRec date{};
  ASSERT_EQ(MDbStatusOk, MDbRecsetDateStrToDateRec(&env, u"1/2/05", &date, 1, nullptr));
  EXPECT_EQ(1905, date.year);
}

TEST_F(Wrappers, TimeTextsBecomeRecordsAndStatusThreeWhenTheyAreNoTimes) {
  const struct {
    const char16_t* text;
    uint32_t status;
    int32_t state;
  } rows[] = {{u"1:30", 0, MDbTimePlain},  {u"7:05 PM", 0, MDbTimeTwelveHour}, {u"19:05 h", 0, MDbTimeTwentyFourHour},
              {u"", 3, MDbTimeEmpty},      {u"  ", 3, MDbTimeEmpty},           {u"-", 3, MDbTimeEmpty},
              {u"late", 3, MDbTimeInvalid}};
  for (const auto& row : rows) {
    TimeRec time{};
    TimeFormat format{};
    EXPECT_EQ(row.status, static_cast<uint32_t>(MDbRecsetTimeStrToTRec(&env, row.text, &time, 1, &format, nullptr)));
    EXPECT_EQ(row.state, time.state);
    const MDbChar separator = format.separator;
    EXPECT_EQ(u':', separator);
  }
}

TEST_F(Wrappers, TheTimeIsNormalizedOrAsTypedAndItsDigitsCanBeHad) {
  TimeRec time{};
  uint16_t digits[3 * 256];
  ASSERT_EQ(MDbStatusOk, MDbRecsetTimeStrToTRec(&env, u"1:75", &time, 1, nullptr, digits));
  EXPECT_EQ(2, time.hours);
  EXPECT_EQ(15, time.minutes);
  EXPECT_EQ(u'1', digits[0]);
  EXPECT_EQ(u'7', digits[256]);
  EXPECT_EQ(u'5', digits[257]);
  ASSERT_EQ(MDbStatusOk, MDbRecsetTimeStrToTRec(&env, u"1:75", &time, 0, nullptr, nullptr));
  EXPECT_EQ(1, time.hours);
  EXPECT_EQ(75, time.minutes);
}

TEST_F(Wrappers, RecordsBecomeTextsUnderTheDatabasesFormats) {
  DateRec date{};
  date.month = 7;
  date.day = 4;
  date.year = 1976;
  MDbChar text[32] = u"as was";
  ASSERT_EQ(MDbStatusOk, MDbRecsetDRecToDateStr(&env, &date, text));
  EXPECT_EQ(std::u16string(u"7/4/1976"), std::u16string(text));
  TimeRec time{};
  time.hours = 19;
  time.minutes = 5;
  time.state = MDbTimeTwelveHour;
  time.components = 1;
  ASSERT_EQ(MDbStatusOk, MDbRecsetTRecToTimeStr(&env, &time, text));
  EXPECT_EQ(std::u16string(u"7:05PM"), std::u16string(text));
}

}  // namespace
