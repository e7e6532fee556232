#include "tools/cluster/file_store.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <system_error>
#include <utility>

#include "tools/cluster/job.h"

namespace velmora::cluster {
namespace {

namespace fs = std::filesystem;

constexpr int kFolders = 256;
constexpr char kSuffix[] = ".json";
constexpr std::int64_t kLeftoverSeconds = 3600;  // a writer needs its file for milliseconds

[[noreturn]] void Fail(const std::string& what, int error) {
  throw StoreError("the results cannot be " + what + ": " + std::generic_category().message(error));
}

// Closes a descriptor at the end of a scope.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int Get() const { return number_; }
  bool IsOpen() const { return number_ >= 0; }
  // @return whether the system took all that was written
  bool Close() { return close(std::exchange(number_, -1)) == 0; }

 private:
  int number_;
};

// Makes the names in a folder survive a power failure.
void SyncFolder(const std::string& folder) {
  const Descriptor directory(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  // A file system that cannot flush a folder says EINVAL: its names are as safe as it makes them.
  if (!directory.IsOpen() || (fsync(directory.Get()) != 0 && errno != EINVAL)) {
    Fail("flushed to '" + folder + "'", errno);
  }
}

bool WriteAll(int descriptor, const std::string& text) {
  for (std::size_t at = 0; at < text.size();) {
    const ssize_t count = write(descriptor, text.data() + at, text.size() - at);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    at += static_cast<std::size_t>(count);
  }
  return true;
}

std::string FolderName(int number) {
  constexpr char kDigits[] = "0123456789abcdef";
  return {kDigits[number / 16], kDigits[number % 16]};
}

// FNV-1a: ids that differ in their last digit only are spread over the folders too.
std::string FolderNameOf(const std::string& jobId) {
  std::uint32_t hash = 2166136261u;
  for (const char c : jobId) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
  hash ^= hash >> 16;
  hash ^= hash >> 8;
  return FolderName(static_cast<int>(hash % kFolders));
}

class FileStore : public ResultStore {
 public:
  FileStore(const std::string& folder, StoreUse use);

  bool Put(const std::string& jobId, const std::string& jsonLine) override;
  bool Has(const std::string& jobId) override;
  void ForEach(const Visitor& visitor) override;

 private:
  // A file of its own in .new until the end of a scope.
  class NewFile;

  std::string FolderOf(const std::string& jobId) const { return root_ + "/" + FolderNameOf(jobId); }
  void VisitFolder(const std::string& name, const Visitor& visitor) const;
  void MakeFolders() const;
  void RemoveLeftovers();

  const std::string root_;
  std::string token_;  // this store's among all writers: a number drawn at random
  std::atomic<std::uint64_t> newFiles_{0};
};

class FileStore::NewFile {
 public:
  explicit NewFile(FileStore& store)
      : path_(store.root_ + "/.new/" + store.token_ + "-" +
              std::to_string(store.newFiles_.fetch_add(1, std::memory_order_relaxed))),
        file_(open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666)) {
    if (!file_.IsOpen()) Fail("written to '" + store.root_ + "/.new'", errno);
  }
  ~NewFile() { unlink(path_.c_str()); }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  void Write(const std::string& text) {
    if (!WriteAll(file_.Get(), text) || fsync(file_.Get()) != 0 || !file_.Close()) {
      Fail("written to '" + path_ + "'", errno);
    }
  }
  // The server's clock may differ from this machine's.
  std::int64_t GetTime() const {
    struct stat status = {};
    if (fstat(file_.Get(), &status) != 0) Fail("written to '" + path_ + "'", errno);
    return status.st_mtime;
  }
  const std::string& GetPath() const { return path_; }

 private:
  const std::string path_;
  Descriptor file_;
};

FileStore::FileStore(const std::string& folder, StoreUse use)
    : root_(fs::absolute(folder.empty() ? "." : folder).string()) {
  std::random_device random;
  char token[17];
  std::snprintf(token, sizeof token, "%08x%08x", random(), random());
  token_ = token;
  if (use == StoreUse::kWrite) {
    MakeFolders();
    RemoveLeftovers();
  } else if (access((root_ + "/.new").c_str(), F_OK) != 0) {
    throw StoreError("there are no results in '" + root_ + "'");
  }
}

void FileStore::MakeFolders() const {
  std::error_code error;
  fs::create_directories(root_ + "/.new", error);
  for (int i = 0; i < kFolders && !error; ++i) {
    fs::create_directory(root_ + "/" + FolderName(i), error);
  }
  if (error) Fail("kept in '" + root_ + "'", error.value());
  SyncFolder(root_);
}

bool FileStore::Put(const std::string& jobId, const std::string& jsonLine) {
  CheckResult(jobId, jsonLine);
  const std::string folder = FolderOf(jobId);
  const std::string path = folder + "/" + jobId + kSuffix;
  NewFile file(*this);
  file.Write(jsonLine + "\n");
  const bool isFirst = link(file.GetPath().c_str(), path.c_str()) == 0;
  if (!isFirst && errno != EEXIST) Fail("linked to '" + path + "'", errno);
  // Also for another's result: its writer may not have come that far.
  SyncFolder(folder);
  return isFirst;
}

bool FileStore::Has(const std::string& jobId) {
  CheckJobId(jobId);
  const std::string folder = FolderOf(jobId);
  struct stat status = {};
  if (stat((folder + "/" + jobId + kSuffix).c_str(), &status) == 0) {
    SyncFolder(folder);
    return true;
  }
  const int error = errno;
  if (error != ENOENT) Fail("read in '" + folder + "'", error);
  // No result and no folder at all are not the same.
  if (access(folder.c_str(), F_OK) != 0) Fail("read in '" + folder + "'", errno);
  return false;
}

void FileStore::ForEach(const Visitor& visitor) {
  for (int i = 0; i < kFolders; ++i) {
    VisitFolder(FolderName(i), visitor);
  }
}

void FileStore::VisitFolder(const std::string& name, const Visitor& visitor) const {
  const std::string folder = root_ + "/" + name;
  std::error_code error;
  fs::directory_iterator entry(folder, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    const fs::path& path = entry->path();
    const std::string jobId = path.stem().string();
    if (path.extension() != kSuffix || !IsJobId(jobId) || FolderNameOf(jobId) != name) continue;
    std::ifstream file(path, std::ios::binary);
    std::string line;
    // The end of the line is the last byte written.
    if (!std::getline(file, line) || file.eof()) {
      throw StoreError("the result in '" + path.string() +
                       "' is damaged: remove the file and submit the job again");
    }
    visitor(jobId, line);
  }
  if (error) Fail("read in '" + folder + "'", error.value());
}

void FileStore::RemoveLeftovers() {
  const std::int64_t now = NewFile(*this).GetTime();
  std::error_code error;
  fs::directory_iterator entry(root_ + "/.new", error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    struct stat status = {};
    if (stat(entry->path().c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
        now - status.st_mtime > kLeftoverSeconds) {
      unlink(entry->path().c_str());
    }
  }
}

}  // namespace

std::unique_ptr<ResultStore> OpenFileStore(const std::string& folder, StoreUse use) {
  return std::make_unique<FileStore>(folder, use);
}

}  // namespace velmora::cluster
