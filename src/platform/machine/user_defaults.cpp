#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>

#include "platform/user_defaults.h"
#include "platform/machine/factories.h"
#include "platform/machine/property_list_codec.h"

namespace platform::machine {

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

// How long a write waits for another process to let go of a domain's lock.
// After that the write gives up, the file stays as it was and the report goes
// on. CVDIAG_DEFAULTS_LOCK_WAIT_MS replaces it, for tests.
constexpr std::chrono::milliseconds kDomainLockWait = 3s;

std::chrono::milliseconds domainLockWait() {
  const char* text = std::getenv("CVDIAG_DEFAULTS_LOCK_WAIT_MS");
  if (text == nullptr || *text == '\0') return kDomainLockWait;
  char* end = nullptr;
  long long ms = std::strtoll(text, &end, 10);
  if (*end != '\0' || ms < 0 || ms > 600000) return kDomainLockWait;
  return std::chrono::milliseconds(ms);
}

enum class LockResult { Taken, TimedOut, Failed };

// Takes an exclusive lock on `fd`, polling until `wait` has passed. The pause
// between tries stays short: a writer that takes the lock again and again
// lets go of it only for moments, and a longer pause would miss them all.
LockResult lockWithin(int fd, std::chrono::milliseconds wait) {
  const auto deadline = std::chrono::steady_clock::now() + wait;
  constexpr std::chrono::milliseconds pause = 1ms;
  for (;;) {
    if (::flock(fd, LOCK_EX | LOCK_NB) == 0) return LockResult::Taken;
    if (errno != EWOULDBLOCK && errno != EINTR) return LockResult::Failed;
    const auto now = std::chrono::steady_clock::now();
    if (now >= deadline) return LockResult::TimedOut;
    std::this_thread::sleep_for(std::min<std::chrono::steady_clock::duration>(pause, deadline - now));
  }
}

class FileDescriptor {
 public:
  explicit FileDescriptor(int fd = -1) : fd_(fd) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }
  // Closes now and tells whether the close succeeded.
  bool close() {
    int fd = fd_;
    fd_ = -1;
    return fd < 0 || ::close(fd) == 0;
  }

 private:
  int fd_;
};

// Which file a path named when it was read: a write replaces the file, so a
// changed identity means someone wrote the domain.
struct FileIdentity {
  bool exists = false;
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = 0;
  std::int64_t modifiedNs = 0;
  std::int64_t changedNs = 0;
  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

FileIdentity identityOf(const struct stat& st) {
  return FileIdentity{true,
                      st.st_dev,
                      st.st_ino,
                      st.st_size,
                      std::int64_t{st.st_mtim.tv_sec} * 1000000000 + st.st_mtim.tv_nsec,
                      std::int64_t{st.st_ctim.tv_sec} * 1000000000 + st.st_ctim.tv_nsec};
}

FileIdentity identityAt(const fs::path& path) {
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0) return FileIdentity{};
  return identityOf(st);
}

// What a domain file held when it was read.
struct DomainSnapshot {
  enum class State { Missing, Readable, Unreadable } state = State::Missing;
  FileIdentity identity;
  mode_t mode = 0600;
  Dictionary values;
};

DomainSnapshot readDomain(const fs::path& path) {
  DomainSnapshot snapshot;
  FileDescriptor fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  if (!fd.valid()) {
    snapshot.state = errno == ENOENT ? DomainSnapshot::State::Missing : DomainSnapshot::State::Unreadable;
    if (snapshot.state == DomainSnapshot::State::Unreadable) snapshot.identity = identityAt(path);
    return snapshot;
  }
  struct stat st {};
  snapshot.state = DomainSnapshot::State::Unreadable;
  if (::fstat(fd.get(), &st) != 0) return snapshot;
  snapshot.identity = identityOf(st);
  snapshot.mode = st.st_mode & 07777;
  if (!S_ISREG(st.st_mode)) return snapshot;
  auto data = mapOpenFile(fd.get());
  if (!data) return snapshot;
  // An empty file is a domain with nothing in it.
  if (data->size() == 0) {
    snapshot.state = DomainSnapshot::State::Readable;
    return snapshot;
  }
  auto value = decodePropertyList(data->bytes());
  if (!value || value->dictionary() == nullptr) return snapshot;
  snapshot.values = *value->dictionary();
  snapshot.state = DomainSnapshot::State::Readable;
  return snapshot;
}

bool writeAll(int fd, const std::uint8_t* data, std::size_t size) {
  while (size > 0) {
    ssize_t n = ::write(fd, data, size);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    data += n;
    size -= static_cast<std::size_t>(n);
  }
  return true;
}

bool fsyncDirectory(const fs::path& dir) {
  FileDescriptor fd(::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return fd.valid() && ::fsync(fd.get()) == 0;
}

class MachineUserDefaults final : public UserDefaults {
 public:
  explicit MachineUserDefaults(fs::path file)
      : file_(std::move(file)),
        directory_(file_.parent_path()),
        lockFile_(directory_ / (file_.filename().string() + ".lock")),
        tempPrefix_("." + file_.filename().string() + ".tmp-") {}

  std::optional<Value> objectForKey(std::string_view key) const override {
    std::lock_guard lock(mutex_);
    refresh();
    if (auto it = unpersisted_.find(key); it != unpersisted_.end()) return it->second;
    if (const Value* v = lookup(stored_.values, key)) return *v;
    return std::nullopt;
  }

  std::optional<Dictionary> dictionaryForKey(std::string_view key) const override {
    auto v = objectForKey(key);
    if (!v || v->dictionary() == nullptr) return std::nullopt;
    return *v->dictionary();
  }

  bool setObject(const Value& value, std::string_view key) override { return change(key, value); }

  bool removeObjectForKey(std::string_view key) override { return change(key, std::nullopt); }

 private:
  // Re-reads the file when it is no longer the one last read.
  void refresh() const {
    if (loaded_ && identityAt(file_) == stored_.identity) return;
    stored_ = readDomain(file_);
    loaded_ = true;
  }

  bool change(std::string_view key, const std::optional<Value>& value) {
    std::lock_guard lock(mutex_);
    if (persist(key, value)) {
      unpersisted_.erase(std::string(key));
      return true;
    }
    unpersisted_.insert_or_assign(std::string(key), value);
    return false;
  }

  // Replaces the domain file by one that differs only in `key`. Holds the
  // domain's lock file from the read to the rename.
  bool persist(std::string_view key, const std::optional<Value>& value) {
    std::error_code ec;
    fs::create_directories(directory_, ec);
    FileDescriptor lockFd(::open(lockFile_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOCTTY, 0600));
    if (!lockFd.valid()) return false;
    // The bound is waited once per domain and run: once it has passed, later
    // writes only try the lock, so a stuck holder costs the report one wait.
    switch (lockWithin(lockFd.get(), lockTimedOut_ ? 0ms : domainLockWait())) {
      case LockResult::Taken:
        break;
      case LockResult::TimedOut:
        if (!lockTimedOut_)
          std::fprintf(stderr, "CVDiag: the preferences domain %s is locked by another process; left unchanged\n",
                       file_.stem().c_str());
        lockTimedOut_ = true;
        return false;
      case LockResult::Failed:
        return false;
    }
    removeAbandonedTemporaries();

    // A writer that doesn't take the lock may still replace the file between
    // our read and our rename; then read and merge again.
    for (int attempt = 0; attempt < 8; ++attempt) {
      DomainSnapshot current = readDomain(file_);
      if (current.state == DomainSnapshot::State::Unreadable) {
        stored_ = std::move(current);
        loaded_ = true;
        return false;
      }
      Dictionary merged = current.values;
      const Value* old = lookup(merged, key);
      if (value ? (old != nullptr && *old == *value) : old == nullptr) {
        stored_ = std::move(current);
        loaded_ = true;
        return true;
      }
      if (value)
        merged.insert_or_assign(std::string(key), *value);
      else
        merged.erase(merged.find(key));
      auto bytes = encodePropertyList(Value(merged), PropertyListFormat::Binary);
      if (!bytes) return false;

      std::string pattern = (directory_ / (tempPrefix_ + "XXXXXX")).string();
      FileDescriptor temp(::mkostemp(pattern.data(), O_CLOEXEC));
      if (!temp.valid()) return false;
      bool written = writeAll(temp.get(), bytes->data(), bytes->size()) &&
                     ::fchmod(temp.get(), current.mode) == 0 && ::fsync(temp.get()) == 0 && temp.close();
      if (!written) {
        ::unlink(pattern.c_str());
        return false;
      }
      if (identityAt(file_) != current.identity) {
        ::unlink(pattern.c_str());
        continue;
      }
      if (::rename(pattern.c_str(), file_.c_str()) != 0) {
        ::unlink(pattern.c_str());
        return false;
      }
      fsyncDirectory(directory_);
      stored_.state = DomainSnapshot::State::Readable;
      stored_.values = std::move(merged);
      stored_.identity = identityAt(file_);
      stored_.mode = current.mode;
      loaded_ = true;
      return true;
    }
    return false;
  }

  // Temporaries are only made under the lock, so one seen while holding the
  // lock belongs to a writer that died before its rename.
  void removeAbandonedTemporaries() const {
    std::error_code ec;
    for (fs::directory_iterator it(directory_, ec), end; !ec && it != end; it.increment(ec)) {
      std::string name = it->path().filename().string();
      if (name.size() == tempPrefix_.size() + 6 && name.compare(0, tempPrefix_.size(), tempPrefix_) == 0)
        ::unlink(it->path().c_str());
    }
  }

  const fs::path file_, directory_, lockFile_;
  const std::string tempPrefix_;
  mutable std::mutex mutex_;
  mutable bool loaded_ = false;
  bool lockTimedOut_ = false;
  mutable DomainSnapshot stored_;
  // Changes that could not reach the file, by key; nothing means removed.
  std::map<std::string, std::optional<Value>, std::less<>> unpersisted_;
};

class MachineUserDefaultsStore final : public UserDefaultsStore {
 public:
  explicit MachineUserDefaultsStore(MachineRef machine) : machine_(std::move(machine)) {}

  std::shared_ptr<UserDefaults> standardUserDefaults() override {
    auto domain = machine_->bundleIdentifier.value_or("CVDiag");
    if (!isDomainName(domain)) domain = "CVDiag";
    return open(domain);
  }

  std::shared_ptr<UserDefaults> initWithSuiteName(std::string_view suiteName) override {
    if (!isDomainName(suiteName)) return nullptr;
    return open(std::string(suiteName));
  }

 private:
  static bool isDomainName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos &&
           name.find('\0') == std::string_view::npos && name.size() <= 200;
  }

  std::shared_ptr<UserDefaults> open(const std::string& domain) {
    std::lock_guard lock(mutex_);
    auto& slot = domains_[domain];
    if (!slot) {
      std::string mac = machine_->home + "/Library/Preferences/" + domain + ".plist";
      slot = std::make_shared<MachineUserDefaults>(machine_->hostPath(mac));
    }
    return slot;
  }

  MachineRef machine_;
  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<UserDefaults>> domains_;
};

}  // namespace

std::shared_ptr<UserDefaultsStore> makeMachineUserDefaults(MachineRef machine) {
  return std::make_shared<MachineUserDefaultsStore>(std::move(machine));
}

}  // namespace platform::machine
