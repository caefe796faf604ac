// The file of one mounted volume: rows of four tables, read when they are needed and written in transactions that are
// on stable storage when Commit returns.
//
// (F1) Opening writes nothing: a file that is not ours or is damaged keeps every byte.
// (F2) One process holds the file, by a lock that lasts until the object dies; within the process there is one object
//      per file, since closing any descriptor of the file would drop the lock.
// (F3) A child process made by fork may not use it.
// (F4) The main file takes up what stands in its side file only by a checkpoint that this class asks for, so that its
//      failure is seen.
// (F5) Before the first flush of a mount, a log that the mount found is taken up and begun anew: behind its end it may hold
//      shreds of a flush that never was, and a second power cut could complete them with sectors of the new one.
// (F6) A file at rest is read without a connection of SQLite's up to the first flush; the lock is SQLite's all the same.
// (F7) Nor is there one for the first flush of a volume that this mount has made, and for the end of a mount that makes no
//      other.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "file_system.h"
#include "first_flush.h"
#include "gathered_writes.h"
#include "held_file.h"
#include "resting_file.h"
#include "sqlite_statement.h"

namespace objectstore {

// What to do about a file that is not seen under its name: leave it with its side file, or fail, for whoever is about to take
// the side file away or to give the file another name. What stands in the side file alone would be lost.
enum class IfGone { kLeave, kFail };

class VolumeFile {
 public:
  using RowSink = std::function<Status(int64_t key, std::span<const uint8_t> body)>;

  // The file must be the one of the given identity.
  static Status Open(const FilePath& path, const FileIdentity& identity, std::unique_ptr<VolumeFile>& opened);

  // Of a file that this mount has made, before anything is written to it. Its directory entry is made durable before the
  // first flush is reported.
  Status MarkNew();

  VolumeFile(const VolumeFile&) = delete;
  VolumeFile& operator=(const VolumeFile&) = delete;
  ~VolumeFile();

  // Calls the sink for each row whose key lies in the range, in ascending order, and stops at its first failure.
  Status ForEachRow(Table table, int64_t first, int64_t last, const RowSink& sink);

  Status Begin();
  Status Put(Table table, int64_t key, std::span<const uint8_t> body);
  Status Delete(Table table, int64_t key);
  Status DeleteRange(Table table, int64_t first, int64_t last);
  Status Commit();
  void Rollback();

  // Makes the directory entry durable, if it may not be yet.
  Status SyncDirectoryOnce();

  // To be called in a transaction, by whoever expects many more. What cannot be made ready now is made when it is needed.
  void MakeReadyForMore();

  // Moves the side file's content into the main file once there is much of it.
  Status CheckpointWhenLong();

  // Moves all of it; then the object's end leaves one file. Without it, the object's end leaves both as they are; so it
  // does with a file that is not seen under its name any more.
  Status Settle(IfGone if_gone);

  bool IsOfThisProcess() const;
  const FileIdentity& identity() const { return identity_; }

 private:
  VolumeFile(const FilePath& path, const FileIdentity& identity);
  Status CheckHeader() const;
  Status CheckHeaderInLog() const;
  Status CheckNeighbours();
  Status TakeLock();
  Status LookWhetherItRests();
  Status OpenConnection();
  Status Connect();
  Status CheckSchema();
  Status GatherLogWrites();
  Status CheckHasNoLog() const;
  Status EndRest();
  class ConnectionAttempt {  // takes the connection away, unless it has ended the rest
   public:
    explicit ConnectionAttempt(VolumeFile& file) : file_(file) {}
    ConnectionAttempt(const ConnectionAttempt&) = delete;
    ConnectionAttempt& operator=(const ConnectionAttempt&) = delete;
    ~ConnectionAttempt();

   private:
    VolumeFile& file_;
  };
  bool InFirstFlush() const { return is_empty_ && first_flush_ != nullptr; }
  Status BeginFirstFlush();
  Status EndFirstFlush();
  Status CheckSeesFirstFlush();
  Status SettleAtRest();
  Status ReasonOf(Status status) const;
  Status ForEachSqlRow(Table table, int64_t first, int64_t last, const RowSink& sink);
  Status CheckStillThere() const;
  void GrowSideFile() const;
  Status TakeUpLog();
  Status RememberSize();
  void RemoveEmptySideFile() const;

  enum Query : size_t {  // places in statements_
    kRead = 0,           // these for each of the four tables, one table after the other
    kPut,
    kDelete,
    kDeleteRange,
    kTableQueryCount,
    kBegin = 4 * kTableQueryCount,
    kCommit,
    kRollback,
    kQueryCount
  };
  static size_t QueryOf(Query query, Table table) { return kTableQueryCount * static_cast<size_t>(table) + query; }
  static const char* TextOf(size_t query);
  Status Prepared(size_t query, const Statement*& statement);

  FilePath path_;
  std::string side_file_;
  FileIdentity identity_;
  uint64_t owner_;            // the process
  uint64_t known_bytes_ = 0;  // the file is at least this long, unless somebody cuts it
  bool side_file_existed_ = false;
  bool connected_ = false;    // or tried to: SQLite may have made the side file
  bool log_is_ours_ = false;  // all of it was written by this mount
  bool settled_ = false;
  bool directory_synced_ = true;
  int side_file_pages_ = 0;
  uint32_t format_version_ = 0;  // that the file says it has
  bool raises_version_ = false;  // the transaction under way makes it the newest
  HeldFile held_;
  GatheredWrites log_writes_;
  Connection connection_;
  std::optional<RestingFile> resting_;       // until SQLite has looked at the file
  bool is_empty_ = false;                    // a new volume, to which nothing was flushed
  std::unique_ptr<FirstFlush> first_flush_;  // that is under way, or whose log has not been taken up
  RoomForFile room_for_log_;
  std::array<std::unique_ptr<Statement>, kQueryCount> statements_;
};

}  // namespace objectstore
