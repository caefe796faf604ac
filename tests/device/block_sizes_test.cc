// The sizes that the library asks its platform for, as numbers: on the device a property's header has 16 bytes, whatever
// it has on the machine that the other tests run on.
#include "engine_fixture.h"

namespace {

using Sizes = std::vector<uint64_t>;

class BlockSizes : public enginetest::EngineTest {
 protected:
  BlockSizes() {
    CreateDatabase({{MDbFieldText, u"Title"}, {MDbFieldNumber, u"Pages"}});
    OpenDatabase();
  }
  // Of every block that a call took; all have been given back.
  Sizes Taken(const seam::PlatformSeam& seam) {
    Sizes sizes;
    for (const seam::Call& call : seam.CallsOf("LocalAlloc")) sizes.push_back(call.arguments.at(1));
    return sizes;
  }
  void AddRecord(uint32_t* oid) {
    const MDbRecInfo info = {};
    const MDbChar* const texts[] = {u"Sea Birds", u"340"};
    ASSERT_EQ(MDbDataTblAddRec(&env, ref(), &env.dataTbl, &info, texts, 2, 0, oid, nullptr), MDbStatusOk);
  }
};

static_assert(sizeof(CEPROPVAL) == 16 && sizeof(void*) == 4);

// A header and the text with its terminator.
TEST_F(BlockSizes, AFieldsNameIsReadIntoAHeaderAndItsText) {
  seam::PlatformSeam seam;
  MDbChar name[16] = {};
  EXPECT_EQ(MDbSchemaTblReadFldName(&env, ref(), &env.schemaTbl, 0, name, sizeof name), MDbStatusOk);
  EXPECT_EQ(std::u16string(name), u"Title");
  EXPECT_EQ(Taken(seam), Sizes{28});
}

// A header and 78 bytes.
TEST_F(BlockSizes, TheSettingsAreReadIntoAHeaderAndTheirBytes) {
  seam::PlatformSeam seam;
  MDbAttrs attrs;
  EXPECT_EQ(MDbAttrTblReadAttrs(&env, ref(), &env.attrTbl, 0, &attrs), MDbStatusOk);
  EXPECT_EQ(Taken(seam), Sizes{94});
}

// First the list of its properties, then their headers and texts.
TEST_F(BlockSizes, ARecordIsLoadedIntoItsHeadersAndItsTexts) {
  uint32_t oid = 0;
  ASSERT_NO_FATAL_FAILURE(AddRecord(&oid));
  MDbDataRec record;
  MDbDataRecInitialize(&record);
  ASSERT_EQ(MDbDataTblOpenRec(&env, ref(), &env.dataTbl, &record, &oid), MDbStatusOk);
  uint32_t size = 0;
  EXPECT_EQ(MDbDataRecGetFieldSize(&env, ref(), &env.dataTbl, &record, 0, &size), MDbStatusOk);
  EXPECT_EQ(size, 20u) << "not loaded: what is stored, less a header";
  const MDbChar* text = nullptr;
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbDataRecGetFieldPtr(&env, ref(), &env.dataTbl, &env.schemaTbl, &record, 0, &text), MDbStatusOk);
  EXPECT_EQ(std::u16string(text), u"Sea Birds");
  EXPECT_EQ(Taken(seam), (Sizes{2 * 4, 2 * 16 + 20 + 8}));
  EXPECT_EQ(MDbDataRecGetFieldSize(&env, ref(), &env.dataTbl, &record, 0, &size), MDbStatusOk);
  EXPECT_EQ(size, 20u) << "loaded";
  EXPECT_EQ(MDbDataTblCloseRec(&env, ref(), &env.dataTbl, &record), MDbStatusOk);
}

}  // namespace
