// A writer that ends without a word: what a reader finds after it is gone.
#include <sys/wait.h>
#include <unistd.h>

#include "recset_fixture.h"

namespace {

using enginetest::RecordSetTest;
using enginetest::Texts;

std::u16string Wide(const std::string& text) { return {text.begin(), text.end()}; }

// Acknowledged calls of the writer, one byte each, read until the writer is gone.
std::string WaitForWriter(pid_t writer, int acknowledgements) {
  std::string acknowledged;
  char byte = 0;
  while (read(acknowledgements, &byte, 1) == 1) acknowledged.push_back(byte);
  close(acknowledgements);
  int status = 0;
  EXPECT_EQ(writer, waitpid(writer, &status, 0));
  EXPECT_TRUE(WIFEXITED(status)) << "the writer crashed";
  EXPECT_EQ(0, WEXITSTATUS(status)) << "the writer met a failing call";
  return acknowledged;
}

// Runs in the child alone: opens the file, makes the calls, acknowledges each, and ends without closing anything.
class Writer {
 public:
  Writer(const std::u16string& path, int acknowledgements) : acknowledgements_(acknowledgements) {
    MDbEnvInitialize(&env_);
    MDbRecsetInitialize(&recset_);
    Require(MDbInit(&env_, nullptr, 0));
    Require(MDbAgentOpenDb(&env_, path.c_str()));
  }
  void Acknowledge(char what) {
    if (write(acknowledgements_, &what, 1) != 1) _exit(3);
  }
  static void Require(MDbStatus status) {
    if (status != MDbStatusOk) _exit(2);
  }
  void Append(const std::u16string& name) {
    const MDbChar* const texts[] = {name.c_str(), u"1"};
    const MDbRecInfo info = {{7}};
    Require(MDbDataTblAddRec(&env_, &env_.agentRef, &env_.dataTbl, &info, texts, 2, 1, nullptr, nullptr));
  }
  MDbEnv& env() { return env_; }
  MDbRecset& recset() { return recset_; }

 private:
  int acknowledgements_;
  MDbEnv env_;
  MDbRecset recset_;
};

class Durability : public RecordSetTest {
 protected:
  // What the writer acknowledged before it was gone; the file is open again afterwards.
  template <typename Work>
  std::string RunWriter(Work work) {
    EXPECT_EQ(MDbStatusOk, MDbAgentCloseDb(&env));
    int ends[2];
    EXPECT_EQ(0, pipe(ends));
    const pid_t writer = fork();
    if (writer == 0) {
      close(ends[0]);
      Writer child(path, ends[1]);
      work(child);
      _exit(0);
    }
    close(ends[1]);
    const std::string acknowledged = WaitForWriter(writer, ends[0]);
    OpenDatabase();
    return acknowledged;
  }
};

TEST_F(Durability, EveryAcknowledgedRecordIsThereAfterTheWriterEnded) {
  Make({MDbFieldText, MDbFieldNumber});
  const std::string acknowledged = RunWriter([](Writer& writer) {
    for (int i = 0; i < 50; ++i) {
      writer.Append(Wide("record " + std::to_string(i)));
      writer.Acknowledge('+');
    }
  });
  EXPECT_EQ(std::string(50, '+'), acknowledged);
  ASSERT_EQ(50u, Count());
  const Texts names = Column(0);
  for (size_t i = 0; i < names.size(); ++i) EXPECT_EQ(Wide("record " + std::to_string(i)), names.at(i));
  EXPECT_EQ(50u, Counter(0));
}

TEST_F(Durability, AcknowledgedEditsCopiesAndDeletionsAreThereAndTheViewIsNot) {
  Make({MDbFieldText, MDbFieldNumber});
  for (const char16_t* name : {u"oak a", u"elm", u"oak b", u"oak c"}) Add({name, u"1"});
  const std::string acknowledged = RunWriter([](Writer& writer) {
    const MDbQuery oaks = {0, MDbQueryByWords, u"oak"};
    MDbRecset& set = writer.recset();
    Writer::Require(MDbAgentQuery(&writer.env(), &set, &oaks));
    Writer::Require(MDbRecsetSort(&writer.env(), &set, 0, MDbSortDescending));
    Writer::Require(MDbRecsetSetInx(&writer.env(), &set, 0));
    Writer::Require(MDbRecsetOpenRec(&writer.env(), &set));
    Writer::Require(MDbRecsetSetField(&writer.env(), &set, 1, u"edited"));
    writer.Acknowledge('e');
    Writer::Require(MDbRecsetCloseRec(&writer.env(), &set));
    uint16_t index = 0;
    Writer::Require(MDBRecsetDupRec(&writer.env(), &set, 0, &index));
    writer.Acknowledge('c');
    Writer::Require(MDbRecsetDelRec(&writer.env(), &set, 1, 0));
    writer.Acknowledge('d');
    Writer::Require(MDbRecsetNewRec(&writer.env(), &set, &index));
    writer.Acknowledge('n');
  });
  EXPECT_EQ("ecdn", acknowledged);
  EXPECT_EQ((Texts{u"oak a", u"elm", u"oak c", u"oak c", u""}), Column(0));
  EXPECT_EQ((Texts{u"1", u"1", u"edited", u"edited", u""}), Column(1));
  ASSERT_EQ(1u, LogCount());
  EXPECT_EQ(u"oak b", StoredLog(0).at(5).text);
  EXPECT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak")) << "no view of the writer is in the way";
  EXPECT_EQ(3u, SetCount());
}

TEST_F(Durability, AnAcknowledgedDeletionOfAllIsThere) {
  Make({MDbFieldText, MDbFieldNumber});
  for (const char16_t* name : {u"a", u"b", u"c"}) Add({name, u"1"});
  const std::string acknowledged = RunWriter([](Writer& writer) {
    Writer::Require(MDbAgentQuery(&writer.env(), &writer.recset(), nullptr));
    Writer::Require(MDbRecsetDelAllRec(&writer.env(), &writer.recset(), 1));
    writer.Acknowledge('d');
  });
  EXPECT_EQ("d", acknowledged);
  EXPECT_EQ(0u, Count());
  EXPECT_EQ(0u, Counter(0));
}

}  // namespace
