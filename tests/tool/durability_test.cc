// How often an import asks the disk to keep its writes, and what is left when it ends at any of these moments.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tool_process.h"

namespace xkrdb::test {
namespace {

std::string Rows(int count, const std::string& text) {
  std::string csv = "n,text\n";
  for (int i = 1; i <= count; ++i) csv += std::to_string(i) + "," + text + "\n";
  return csv;
}

class Durability : public ToolTest {
 protected:
  // Runs the tool with the probe; signal 0: with no signal.
  Outcome Probed(const std::vector<std::string>& arguments, const std::string& input, int signal = 0,
                 int at = 0) const {
    RunOptions options{folder(), input, {}};
    options.environment = {std::string("LD_PRELOAD=") + XKRDB_SYNC_PROBE, "XKRDB_SYNC_LOG=" + Path("syncs"),
                           "ASAN_OPTIONS=verify_asan_link_order=0", "TMPDIR=" + Path("tmp")};
    if (signal != 0) {
      options.environment.push_back("XKRDB_SYNC_SIGNAL=" + std::to_string(signal));
      options.environment.push_back("XKRDB_SYNC_AT=" + std::to_string(at));
    }
    (void)mkdir(Path("tmp").c_str(), 0700);
    (void)unlink(Path("syncs").c_str());
    return RunProgram(XKRDB_TOOL_PROGRAM, arguments, options);
  }
  size_t Syncs() const { return Read("syncs").size(); }
};

TEST_F(Durability, FiveThousandRowsAskTheDiskAsOftenAsOneRow) {
  ASSERT_EQ(Probed({"import", "one.xdb", "-"}, Rows(1, "x")).code, 0);
  const size_t for_one = Syncs();
  ASSERT_EQ(Probed({"import", "many.xdb", "-"}, Rows(5000, "x")).code, 0);
  EXPECT_EQ(Syncs(), for_one);
  EXPECT_GT(for_one, 0u);
  ASSERT_EQ(Probed({"import", "one.xdb", "-"}, Rows(1, "x")).code, 0);
  const size_t for_one_more = Syncs();
  ASSERT_EQ(Probed({"import", "one.xdb", "-"}, Rows(4000, "x")).code, 0);
  EXPECT_EQ(Syncs(), for_one_more);
  EXPECT_GT(for_one_more, 0u);
}

TEST_F(Durability, KilledAtAnyMomentANewDatabaseIsWholeOrNoDatabase) {
  const std::string csv = Rows(300, std::string(100, 'x'));
  int moment = 1;
  for (int code = -1; code != 0; ++moment) {
    ASSERT_LT(moment, 50);
    (void)unlink(Path("book.xdb").c_str());
    (void)unlink(Path("book.xdb-wal").c_str());
    code = Probed({"import", "book.xdb", "-"}, csv, SIGKILL, moment).code;
    ASSERT_TRUE(code == 0 || code == 128 + SIGKILL) << code;
    const Outcome exported = Xkrdb({"export", "book.xdb"});
    if (exported.code == 0) {
      EXPECT_EQ(exported.out, csv) << "moment " << moment;
    } else {
      EXPECT_TRUE(exported.code == 4 || !Exists("book.xdb")) << "moment " << moment << ": " << exported.err;
    }
  }
  EXPECT_GT(moment, 2);
}

TEST_F(Durability, KilledAtAnyMomentADatabaseIsAsBeforeOrAsAfter) {
  const std::string first = Rows(3, "first");
  const std::string more = Rows(300, std::string(100, 'x'));
  const std::string after = first + more.substr(more.find('\n') + 1);
  int moment = 1;
  for (int code = -1; code != 0; ++moment) {
    ASSERT_LT(moment, 50);
    (void)unlink(Path("book.xdb").c_str());
    (void)unlink(Path("book.xdb-wal").c_str());
    Make("book.xdb", first);
    code = Probed({"import", "book.xdb", "-"}, more, SIGKILL, moment).code;
    ASSERT_TRUE(code == 0 || code == 128 + SIGKILL) << code;
    const Outcome exported = Xkrdb({"export", "book.xdb"});
    EXPECT_EQ(exported.code, 0) << "moment " << moment << ": " << exported.err;
    EXPECT_TRUE(exported.out == first || exported.out == after) << "moment " << moment;
    if (code == 0) {
      EXPECT_EQ(exported.out, after);
    }
  }
  EXPECT_GT(moment, 2);
}

TEST_F(Durability, InterruptedAtAnyMomentANewDatabaseIsWholeOrGoneAndNothingElseStays) {
  const std::string csv = Rows(300, "x");
  int interrupted = 0;
  for (int moment = 1, code = -1; code != 0; ++moment) {
    ASSERT_LT(moment, 50);
    code = Probed({"import", "book.xdb", "-"}, csv, SIGINT, moment).code;
    ASSERT_TRUE(code == 0 || code == 128 + SIGINT) << code;
    if (code != 0) {
      ++interrupted;
      EXPECT_EQ(Files(), "syncs tmp") << "moment " << moment;
    }
    EXPECT_EQ(rmdir(Path("tmp").c_str()), 0) << "moment " << moment;  // refused while anything is in it
  }
  EXPECT_GT(interrupted, 0);
  EXPECT_EQ(Xkrdb({"export", "book.xdb"}).out, csv);
}

}  // namespace
}  // namespace xkrdb::test
