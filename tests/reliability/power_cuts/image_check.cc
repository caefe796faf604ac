// See image_check.h.
#include "image_check.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "mdb.h"

namespace powercut {

namespace fs = std::filesystem;

namespace {

void WriteFile(const std::string& path, const Content& content) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (file < 0) throw std::runtime_error("cannot make " + path);
  const bool written =
      write(file, content.bytes.data(), content.bytes.size()) == static_cast<ssize_t>(content.bytes.size()) &&
      ftruncate(file, static_cast<off_t>(content.size)) == 0;
  close(file);
  if (!written) throw std::runtime_error("cannot write " + path);
}

class Environment {
 public:
  Environment() {
    MDbEnvInitialize(&env_);
    (void)MDbInit(&env_, nullptr, 0);
  }
  ~Environment() { (void)MDbShutdown(&env_, 0, 0); }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;
  MDbEnv* get() { return &env_; }

 private:
  MDbEnv env_;
};

}  // namespace

void WriteImage(const Image& image, const std::string& directory) {
  for (const auto& entry : fs::directory_iterator(directory)) fs::remove(entry);
  for (const auto& [name, content] : image) WriteFile(directory + "/" + name, content);
}

ImageCheck::ImageCheck(const std::string& directory)
    : directory_(directory), file_(directory + "/" + kFileName), path_(file_.begin(), file_.end()) {}

Found ImageCheck::Look(const Image& image, bool goes_on) {
  WriteImage(image, directory_);
  Found found;
  found.absent = !fs::exists(file_);
  if (found.absent) return found;
  OpenDatabase(found, goes_on);
  if (found.open_status != MDbStatusOk) MountVolume(found);
  if (found.broken.empty()) found.broken = found.state.disagreement;
  if (found.broken.empty()) CheckSideFiles(found);
  return found;
}

void ImageCheck::OpenDatabase(Found& found, bool goes_on) const {
  Environment environment;
  MDbEnv* env = environment.get();
  found.open_status = MDbAgentOpenDb(env, path_.c_str());
  if (found.open_status != MDbStatusOk) return;
  found.state = StateOf(env->agentRef.volume);
  uint32_t count = 0;
  if (MDbDataTblGetRecCount(env, &env->agentRef, &env->dataTbl, &count) != MDbStatusOk || count != found.state.live) {
    found.broken = "the engine counts other records than there are";
  }
  if (MDbAgentCloseDb(env) != MDbStatusOk) found.broken = "the database does not close";
  if (goes_on) GoOn(found);
}

void ImageCheck::MountVolume(Found& found) const {
  CEGUID volume;
  if (!CeMountDBVol(&volume, path_.c_str(), OPEN_EXISTING)) {
    found.broken = "the volume does not mount: error " + std::to_string(GetLastError());
    return;
  }
  found.state = StateOf(volume);
  if (!CeUnmountDBVol(&volume)) found.broken = "the volume does not unmount";
}

void ImageCheck::GoOn(Found& found) const {
  Environment environment;
  MDbEnv* env = environment.get();
  uint32_t status = MDbAgentOpenDb(env, path_.c_str());
  const MDbChar* texts[] = {u"after the cut"};
  const MDbRecInfo info = {};
  if (status == MDbStatusOk)
    status = MDbDataTblAddRec(env, &env->agentRef, &env->dataTbl, &info, texts, 1, 0, nullptr, nullptr);
  if (status == MDbStatusOk) status = MDbAgentCloseDb(env);
  if (status == MDbStatusOk) status = MDbAgentOpenDb(env, path_.c_str());
  if (status != MDbStatusOk) {
    found.broken = "life does not go on after the cut: status " + std::to_string(status);
    return;
  }
  const VolumeState state = StateOf(env->agentRef.volume);
  if (state.live != found.state.live + 1 || !state.disagreement.empty()) {
    found.broken = "a record added after the cut is not there: " + state.disagreement;
  }
  (void)MDbAgentCloseDb(env);
}

void ImageCheck::CheckSideFiles(Found& found) const {
  for (const char* suffix : {"-wal", "-shm", "-journal"}) {
    if (fs::exists(file_ + suffix)) found.broken = std::string("a side file is left: ") + suffix;
  }
}

int ImageCheck::Judge(Found& found, const std::vector<Milestone>& milestones, size_t first, size_t last) const {
  if (!found.broken.empty()) return -1;
  for (size_t i = first; i <= last; ++i) {
    const Milestone& milestone = milestones[i];
    if (milestone.absent != found.absent || (!found.absent && milestone.state.digest != found.state.digest)) continue;
    if (milestone.open_status != found.open_status) {
      found.broken = "the engine answers " + std::to_string(found.open_status) + " instead of " +
                     std::to_string(milestone.open_status);
      return -1;
    }
    return static_cast<int>(i);
  }
  const auto same = [&found](const Milestone& milestone) {
    return milestone.absent == found.absent && (found.absent || milestone.state.digest == found.state.digest);
  };
  const auto other = std::find_if(milestones.begin(), milestones.end(), same);
  found.broken = other == milestones.end() ? "what is there was never flushed"
                                           : "what is there is flush " + std::to_string(other - milestones.begin()) +
                                                 " instead of " + std::to_string(first) + " to " + std::to_string(last);
  return -1;
}

}  // namespace powercut
