// The 32-bit value of a field's text: digits taken out of a text, limits, dates and times under the database's formats.
#include "field_value.h"

#include "record_fixture.h"

namespace {

class FieldValue : public enginetest::RecordTest {
 protected:
  static uint32_t Status(uint8_t type, const char16_t* text, int32_t* value) {
    mdb::ValueFormat format;
    format.type = type;
    const MDbAttrs attrs = enginetest::UsualAttrs();
    format.date = attrs.dateFormat;
    format.time = attrs.timeFormat;
    return mdb::TextToValue(text, format, value);
  }
};

TEST_F(FieldValue, OfANumberIsItsDigitsWithTheSignBeforeThemUpToThePoint) {
  const struct {
    const char* why;
    const char16_t* text;
    int32_t value;
  } rows[] = {{"plain", u"42", 42},
              {"other punctuation is dropped, decimals are cut off", u"1,234.56", 1234},
              {"letters are dropped, the sign stays", u"abc-12", -12},
              {"a sign after a digit is dropped", u"1-2", 12},
              {"a second sign is dropped", u"--5", -5},
              {"spaces are dropped", u"4 2 0", 420},
              {"a sign may stand apart", u"- 7", -7},
              {"leading zeros", u"0000000000000000000042", 42},
              {"symbols outside the classes", u"€12§3", 123},
              {"a full-width digit is no digit", u"１2", 2},
              {"minus zero", u"-0", 0},
              {"the greatest", u"2147483646", 2147483646},
              {"the least", u"-2147483647", -2147483647},
              {"a long text around it", u"the order of 3 May, paid in full and by cheque", 3}};
  for (const auto& row : rows) {
    int32_t value = 77;
    EXPECT_EQ(0u, Status(MDbFieldNumber, row.text, &value)) << row.why;
    EXPECT_EQ(row.value, value) << row.why;
  }
}

TEST_F(FieldValue, ANumberWithoutADigitBeforeThePointIsStatusEleven) {
  for (const char16_t* text : {u"", u" ", u"-", u"none", u".5", u"-.", u"...9", u"１"}) {
    int32_t value = 77;
    EXPECT_EQ(11u, Status(MDbFieldNumber, text, &value));
    EXPECT_EQ(77, value);
  }
}

TEST_F(FieldValue, ANumberAtOrBeyondALimitIsStatusTenAlsoWhenItIsWrittenLiterally) {
  for (const char16_t* text : {u"2147483647", u"-2147483648", u"2147483648", u"-2147483649", u"99999999999999999999",
                               u"-99999999999999999999", u"21 47 48 36 47"}) {
    int32_t value = 77;
    EXPECT_EQ(10u, Status(MDbFieldNumber, text, &value));
    EXPECT_EQ(77, value);
  }
}

TEST_F(FieldValue, ANumberTextOfAnyLengthIsRead) {
  const std::u16string zeros(5000, u'0');
  int32_t value = 77;
  EXPECT_EQ(0u, Status(MDbFieldNumber, (zeros + u"12").c_str(), &value));
  EXPECT_EQ(12, value);
  EXPECT_EQ(10u, Status(MDbFieldNumber, std::u16string(5000, u'9').c_str(), &value));
}

TEST_F(FieldValue, OfADateIsItsDayAndWhatIsNoDateIsStatusTwo) {
  int32_t day = 0;
  int32_t next = 0;
  EXPECT_EQ(0u, Status(MDbFieldDate, u"2/29/2024", &day));
  EXPECT_EQ(0u, Status(MDbFieldDate, u"3/1/2024", &next));
  EXPECT_EQ(day + 1, next);
  EXPECT_EQ(0u, Status(MDbFieldDate, u"1/1/001", &day));
  EXPECT_EQ(1, day);
  for (const char16_t* text : {u"", u"  ", u"0/0/0000", u"2/29/2023", u"soon", u"1/2/"}) {
    EXPECT_EQ(2u, Status(MDbFieldDate, text, &day));
  }
}

TEST_F(FieldValue, OfATimeIsItsSecondsAndWhatIsNoTimeIsStatusThree) {
  int32_t seconds = 0;
  EXPECT_EQ(0u, Status(MDbFieldTime, u"7:05 PM", &seconds));
  EXPECT_EQ((19 * 60 + 5) * 60, seconds);
  EXPECT_EQ(0u, Status(MDbFieldTime, u"-1:30", &seconds));
  EXPECT_EQ(-5400, seconds);
  EXPECT_EQ(0u, Status(MDbFieldTime, u"1:75", &seconds));
  EXPECT_EQ(8100, seconds);
  for (const char16_t* text : {u"", u" ", u"late", u"13 PM", u"-1:30 PM"}) {
    EXPECT_EQ(3u, Status(MDbFieldTime, text, &seconds));
  }
}

TEST_F(FieldValue, OfAnyOtherTypeIsStatusOne) {
  for (const uint8_t type : std::initializer_list<uint8_t>{0, 1, 5, 255}) {
    int32_t value = 77;
    EXPECT_EQ(1u, Status(type, u"42", &value)) << int{type};
    EXPECT_EQ(77, value);
  }
}

TEST_F(FieldValue, FormatsAreReadForDatesAndTimesAlone) {
  Make({MDbFieldText});
  for (const uint8_t type : std::initializer_list<uint8_t>{0, 1, 2, 3, 4, 5}) {
    mdb::ValueFormat format;
    format.type = type;
    seam::PlatformSeam seam;
    const bool has_format = type == MDbFieldDate || type == MDbFieldTime;
    EXPECT_EQ(has_format ? MDbStatusOk : MDbStatusFailed, mdb::ReadValueFormat(&env, &format)) << int{type};
    EXPECT_EQ(has_format, !seam.StoreTexts().empty()) << int{type};
    if (type == MDbFieldDate) {
      const MDbChar separator = format.date.separator;  // the record is packed
      EXPECT_EQ(u'/', separator);
    }
    if (type == MDbFieldTime) {
      const MDbChar separator = format.time.separator;
      EXPECT_EQ(u':', separator);
    }
  }
}

TEST_F(FieldValue, FormatsFailWithTheAttributes) {
  Make({MDbFieldText});
  ASSERT_EQ(MDbStatusOk, MDbAttrTblDelete(&env, ref()));
  mdb::ValueFormat format;
  format.type = MDbFieldDate;
  EXPECT_EQ(MDbStatusFailed, mdb::ReadValueFormat(&env, &format));
}

}  // namespace
