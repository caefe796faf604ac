// Two processes at one file: the second is told that the file is taken, whatever it asks, and the first never notices;
// the first one's death gives the file free at once; a fork of the holder is a stranger to it.
//
// The holder is a child process of the test, which must not have the file open itself while it starts one.
#include <signal.h>
#include <sys/wait.h>

#include <fstream>
#include <iterator>

#include "child_process.h"
#include "database_recipe.h"
#include "temporary_directory.h"
#include "tool_process.h"

namespace {

using enginetest::CreateDatabaseFile;
using enginetest::Recipe;
using xkrdb::test::Outcome;
using xkrdb::test::ToolTest;

// One client of the library.
class Client {
 public:
  Client() {
    MDbEnvInitialize(&env);
    EXPECT_EQ(MDbStatusOk, MDbInit(&env, nullptr, 0));
  }
  ~Client() {
    (void)MDbAgentCloseDb(&env);
    (void)MDbShutdown(&env, 0, 0);
  }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  MDbStatus Open(const std::u16string& path) { return MDbAgentOpenDb(&env, path.c_str()); }
  MDbStatus Close() { return MDbAgentCloseDb(&env); }
  MDbStatus Add(const char16_t* name) {
    const MDbChar* const texts[] = {name};
    const MDbRecInfo info = {{7}};
    return MDbDataTblAddRec(&env, &env.agentRef, &env.dataTbl, &info, texts, 1, 1, nullptr, nullptr);
  }
  std::vector<std::u16string> Names() {
    std::vector<std::u16string> names;
    uint32_t count = 0;
    EXPECT_EQ(MDbStatusOk, MDbDataTblGetRecCount(&env, &env.agentRef, &env.dataTbl, &count));
    for (uint32_t i = 0; i < count; ++i) {
      MDbDataRec record;
      MDbDataRecInitialize(&record);
      MDbChar text[64] = u"not read";
      EXPECT_EQ(MDbStatusOk, MDbDataTblCursSetInx(&env, &env.agentRef, &env.dataTbl, static_cast<int16_t>(i)));
      EXPECT_EQ(MDbStatusOk, MDbDataTblOpenRec(&env, &env.agentRef, &env.dataTbl, &record, nullptr));
      EXPECT_EQ(MDbStatusOk, MDbDataRecReadField(&env, &env.agentRef, &env.dataTbl, &record, 0, text, sizeof text));
      EXPECT_EQ(MDbStatusOk, MDbDataTblCloseRec(&env, &env.agentRef, &env.dataTbl, &record));
      names.emplace_back(text);
    }
    return names;
  }

  MDbEnv env;
};

using Names = std::vector<std::u16string>;

class TwoProcesses : public ToolTest {
 protected:
  TwoProcesses() {
    Recipe recipe;
    recipe.fields = {{MDbFieldText, u"name"}};
    Client maker;
    EXPECT_EQ(MDbStatusOk, CreateDatabaseFile(&maker.env, path(), recipe));
  }

  std::u16string path() const { return std::filesystem::path(Path("book.xdb")).u16string(); }

  // The volume and its side file.
  std::string Bytes() const {
    std::string bytes;
    for (const char* name : {"book.xdb", "book.xdb-wal"}) {
      std::ifstream file(Path(name), std::ios::binary);
      bytes.append(std::istreambuf_iterator<char>(file), {});
      bytes += '|';
    }
    return bytes;
  }

  Names NamesInFile() {
    Client client;
    EXPECT_EQ(MDbStatusOk, client.Open(path()));
    return client.Names();
  }
};

TEST_F(TwoProcesses, TheSecondIsRefusedWhateverItAsksAndTheFirstGoesOn) {
  const ProcessSignal held, tried, added, tried_again;
  const pid_t holder = StartChildThatDies([&] {
    Client first;
    EXPECT_EQ(MDbStatusOk, first.Open(path()));
    EXPECT_EQ(MDbStatusOk, first.Add(u"before"));
    held.Send();
    tried.Wait();
    EXPECT_EQ(MDbStatusOk, first.Add(u"between"));
    EXPECT_EQ((Names{u"before", u"between"}), first.Names());
    added.Send();
    tried_again.Wait();
    EXPECT_EQ(MDbStatusOk, first.Add(u"after"));
  });
  Client second;
  const auto try_everything = [&] {
    const std::string bytes = Bytes();
    MDbRef own;
    MDbRefInitialize(&own);
    EXPECT_EQ(MDbStatusCannotOpen, second.Open(path()));
    EXPECT_EQ(0, MDbIsOpened(&second.env, &second.env.agentRef));
    EXPECT_EQ(MDbStatusCannotOpen, MDbOpen(&second.env, path().c_str(), &own));
    EXPECT_EQ(MDbStatusFailed, MDbCreate(&second.env, path().c_str(), &own)) << "it exists";
    EXPECT_EQ(0, MDbRefIsOpened(&own));
    EXPECT_EQ(MDbStatusFailed, MDbDelete(&second.env, path().c_str()));
    EXPECT_EQ(bytes, Bytes()) << "the refused calls changed the file";
  };
  held.Wait();
  try_everything();
  tried.Send();
  added.Wait();
  try_everything();
  tried_again.Send();
  ExpectChildSucceeds(holder);
  EXPECT_EQ((Names{u"before", u"between", u"after"}), NamesInFile());
}

TEST_F(TwoProcesses, NoCommandOfTheToolTouchesATakenFile) {
  const ProcessSignal held, tried;
  const pid_t holder = StartChildThatDies([&] {
    Client first;
    EXPECT_EQ(MDbStatusOk, first.Open(path()));
    EXPECT_EQ(MDbStatusOk, first.Add(u"before"));
    held.Send();
    tried.Wait();
    EXPECT_EQ(MDbStatusOk, first.Add(u"after"));
  });
  held.Wait();
  const std::string bytes = Bytes();
  const struct {
    std::vector<std::string> arguments;
    int code;
  } rows[] = {
      {{"info", "book.xdb"}, 5},     {{"find", "book.xdb", "before"}, 5}, {{"show", "book.xdb", "1"}, 5},
      {{"log", "book.xdb"}, 5},      {{"export", "book.xdb"}, 5},         {{"set", "book.xdb", "1", "name=other"}, 5},
      {{"dup", "book.xdb", "1"}, 5}, {{"rm", "book.xdb", "--all"}, 5},    {{"rm", "book.xdb", "1", "--no-log"}, 5},
  };
  for (const auto& row : rows) {
    const Outcome outcome = Xkrdb(row.arguments);
    EXPECT_EQ(row.code, outcome.code) << row.arguments[0] << ": " << outcome.err;
    EXPECT_EQ("", outcome.out) << row.arguments[0];
    EXPECT_EQ(bytes, Bytes()) << row.arguments[0];
  }
  EXPECT_NE(0, Xkrdb({"new", "book.xdb", "name"}).code);
  EXPECT_EQ(bytes, Bytes()) << "new";
  tried.Send();
  ExpectChildSucceeds(holder);
  EXPECT_EQ((Names{u"before", u"after"}), NamesInFile());
}

TEST_F(TwoProcesses, TheSecondGetsInAtOnceWhenTheFirstIsKilled) {
  const ProcessSignal held, never;
  const pid_t holder = StartChildThatDies([&] {
    Client first;
    EXPECT_EQ(MDbStatusOk, first.Open(path()));
    EXPECT_EQ(MDbStatusOk, first.Add(u"acknowledged"));
    held.Send();
    never.Wait();
  });
  Client second;
  held.Wait();
  EXPECT_EQ(MDbStatusCannotOpen, second.Open(path()));
  ASSERT_EQ(0, kill(holder, SIGKILL));
  ASSERT_EQ(holder, waitpid(holder, nullptr, 0));
  EXPECT_TRUE(Exists("book.xdb-wal")) << "what the first one left belongs to the volume";
  ASSERT_EQ(MDbStatusOk, second.Open(path())) << "the first try";
  EXPECT_EQ(Names{u"acknowledged"}, second.Names());
  EXPECT_EQ(MDbStatusOk, second.Add(u"the second's"));
  EXPECT_EQ(MDbStatusOk, second.Close());
  EXPECT_EQ("book.xdb", Files());
}

TEST_F(TwoProcesses, AForkOfTheHolderChangesNothingAndTheHolderGoesOn) {
  Client holder;
  ASSERT_EQ(MDbStatusOk, holder.Open(path()));
  EXPECT_EQ(MDbStatusOk, holder.Add(u"before"));
  const std::string bytes = Bytes();
  RunInChildThatDies([&] {
    EXPECT_NE(MDbStatusOk, holder.Add(u"the fork's")) << "an environment that was inherited";
    EXPECT_NE(MDbStatusOk, MDbDelete(&holder.env, path().c_str()));
    Client own;
    EXPECT_EQ(MDbStatusCannotOpen, own.Open(path()));
    (void)holder.Close();  // whatever it answers, the holder must not notice
  });
  EXPECT_EQ(bytes, Bytes());
  EXPECT_EQ(MDbStatusOk, holder.Add(u"after"));
  RunInChildThatDies([&] {
    Client third;
    EXPECT_EQ(MDbStatusCannotOpen, third.Open(path())) << "the fork's end did not give the file free";
  });
  EXPECT_EQ(MDbStatusOk, holder.Close());
  EXPECT_EQ((Names{u"before", u"after"}), NamesInFile());
}

TEST_F(TwoProcesses, AForkThatOutlivesTheHolderNeitherKeepsTheFileNorDisturbsTheNextOne) {
  const ProcessSignal forked, written, fork_ended, never;
  int answers[2];
  ASSERT_EQ(0, pipe(answers));
  const pid_t holder = StartChildThatDies([&] {
    Client first;
    EXPECT_EQ(MDbStatusOk, first.Open(path()));
    EXPECT_EQ(MDbStatusOk, first.Add(u"the first's"));
    StartChildThatDies([&] {
      forked.Send();
      written.Wait();
      const char added = first.Add(u"the fork's") == MDbStatusOk ? 'y' : 'n';
      EXPECT_EQ(1, write(answers[1], &added, 1));
      fork_ended.Send();
    });
    never.Wait();
  });
  forked.Wait();
  ASSERT_EQ(0, kill(holder, SIGKILL));
  ASSERT_EQ(holder, waitpid(holder, nullptr, 0));
  Client second;
  EXPECT_EQ(MDbStatusOk, second.Open(path())) << "though the fork still has the file's descriptors";
  EXPECT_EQ(MDbStatusOk, second.Add(u"the second's"));
  const std::string bytes = Bytes();
  written.Send();
  fork_ended.Wait();
  char added = '?';
  EXPECT_EQ(1, read(answers[0], &added, 1));
  EXPECT_EQ('n', added) << "the fork wrote into a file that another process has open";
  EXPECT_EQ(bytes, Bytes());
  EXPECT_EQ(MDbStatusOk, second.Add(u"another"));
  EXPECT_EQ(MDbStatusOk, second.Close());
  EXPECT_EQ((Names{u"the first's", u"the second's", u"another"}), NamesInFile());
  close(answers[0]);
  close(answers[1]);
}

// The rounds differ in who comes first; the outcome does not.
TEST_F(TwoProcesses, OfTwoThatMakeOneFileOneSucceeds) {
  const std::u16string contested = std::filesystem::path(Path("contested.xdb")).u16string();
  for (int round = 0; round < 20; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    const ProcessSignal ready, go, tried;
    int answers[2];
    ASSERT_EQ(0, pipe(answers));
    const auto make = [&](Client& client, MDbRef& ref) {
      MDbRefInitialize(&ref);
      return MDbCreate(&client.env, contested.c_str(), &ref) == MDbStatusOk;
    };
    const pid_t other = StartChildThatDies([&] {
      Client client;
      MDbRef ref;
      ready.Send();
      go.Wait();
      const char made = make(client, ref) ? 'y' : 'n';
      EXPECT_EQ(1, write(answers[1], &made, 1));
      tried.Wait();
      if (made == 'y') {
        EXPECT_EQ(MDbStatusOk, MDbClose(&client.env, &ref));
      }
    });
    ready.Wait();
    Client client;
    MDbRef ref;
    go.Send();
    const bool made = make(client, ref);
    char other_made = '?';
    EXPECT_EQ(1, read(answers[0], &other_made, 1));
    EXPECT_EQ(made ? 'n' : 'y', other_made);
    tried.Send();
    ExpectChildSucceeds(other);
    if (made) {
      EXPECT_EQ(MDbStatusOk, MDbClose(&client.env, &ref));
    }
    MDbRefInitialize(&ref);
    EXPECT_EQ(MDbStatusOk, MDbOpen(&client.env, contested.c_str(), &ref));
    EXPECT_EQ(MDbStatusOk, MDbClose(&client.env, &ref));
    EXPECT_EQ("book.xdb contested.xdb", Files());
    EXPECT_EQ(MDbStatusOk, MDbDelete(&client.env, contested.c_str()));
    close(answers[0]);
    close(answers[1]);
  }
}

// Two that come in the same moment may refuse each other; the next try of either gets in.
TEST_F(TwoProcesses, OfTwoThatOpenOneFileNeverBothSucceed) {
  for (int round = 0; round < 20; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    const ProcessSignal ready, go, tried;
    int answers[2];
    ASSERT_EQ(0, pipe(answers));
    const pid_t other = StartChildThatDies([&] {
      Client client;
      ready.Send();
      go.Wait();
      const MDbStatus status = client.Open(path());
      EXPECT_TRUE(status == MDbStatusOk || status == MDbStatusCannotOpen);
      const char opened = status == MDbStatusOk ? 'y' : 'n';
      EXPECT_EQ(1, write(answers[1], &opened, 1));
      tried.Wait();
    });
    ready.Wait();
    Client client;
    go.Send();
    const MDbStatus status = client.Open(path());
    EXPECT_TRUE(status == MDbStatusOk || status == MDbStatusCannotOpen);
    char other_opened = '?';
    EXPECT_EQ(1, read(answers[0], &other_opened, 1));
    EXPECT_FALSE(status == MDbStatusOk && other_opened == 'y') << "both have it open";
    tried.Send();
    ExpectChildSucceeds(other);
    if (status != MDbStatusOk) {
      EXPECT_EQ(MDbStatusOk, client.Open(path())) << "nobody else is left";
    }
    close(answers[0]);
    close(answers[1]);
  }
  EXPECT_EQ(Names{}, NamesInFile());
}

}  // namespace
