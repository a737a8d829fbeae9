// Disk Arbitration over a machine folder. A disk is one media object, named by
// its place in the media array. Callbacks are kept per session and delivered
// through the session's executor; a session without one keeps its deliveries
// until one is set. The appeared callback is called once per attached media
// object when it is registered; tests raise every other event through
// SimulatedDiskArbitration. Unmount requests are recorded, and change nothing.

#include <algorithm>
#include <atomic>
#include <deque>
#include <map>
#include <mutex>

#include "platform/machine/factories.h"
#include "platform/machine/machine_queries.h"
#include "platform/machine/simulated_disk_arbitration.h"

namespace platform::machine {

namespace {

enum class EventKind {
  Appeared,
  Disappeared,
  DescriptionChanged,
  Peek,
  MountApproval,
  UnmountApproval,
  EjectApproval
};

struct Registration {
  std::uint64_t id = 0;
  EventKind kind = EventKind::Appeared;
  std::optional<Dictionary> match;
  std::optional<std::vector<std::string>> watch;
  std::function<void(const DADiskRef&)> diskCallback;  // appeared, disappeared, peek
  DADiskDescriptionChangedCallback changedCallback;
  DADiskApprovalCallback approvalCallback;
  std::atomic<bool> active{true};
};
using RegistrationRef = std::shared_ptr<Registration>;

class Session final : public DASession {
 public:
  // Hands the block to the executor, or keeps it until there is one. Blocks
  // reach the executor in the order they were delivered.
  void deliver(std::function<void()> block) {
    std::lock_guard lock(deliveryMutex_);
    if (executor_) {
      executor_(std::move(block));
    } else {
      pending_.push_back(std::move(block));
    }
  }

  void setExecutor(DAExecutor executor) {
    std::lock_guard lock(deliveryMutex_);
    executor_ = std::move(executor);
    if (!executor_) return;
    while (!pending_.empty()) {
      auto block = std::move(pending_.front());
      pending_.pop_front();
      executor_(std::move(block));
    }
  }

  void add(RegistrationRef registration) {
    std::lock_guard lock(mutex_);
    registrations_.push_back(std::move(registration));
  }

  void remove(std::uint64_t id) {
    std::lock_guard lock(mutex_);
    for (auto it = registrations_.begin(); it != registrations_.end(); ++it) {
      if ((*it)->id == id) {
        (*it)->active = false;
        registrations_.erase(it);
        return;
      }
    }
  }

  std::vector<RegistrationRef> registrations(EventKind kind) const {
    std::lock_guard lock(mutex_);
    std::vector<RegistrationRef> result;
    for (const auto& r : registrations_)
      if (r->kind == kind) result.push_back(r);
    return result;
  }

 private:
  // Recursive: an executor that runs blocks at once may re-enter from a callback.
  std::recursive_mutex deliveryMutex_;
  DAExecutor executor_;
  std::deque<std::function<void()>> pending_;
  mutable std::mutex mutex_;
  std::vector<RegistrationRef> registrations_;
};

class Disk final : public DADisk {
 public:
  Disk(const Machine* machine, std::size_t index, std::weak_ptr<Session> session)
      : machine_(machine), index_(index), session_(std::move(session)) {}
  const Machine* machine() const { return machine_; }
  std::size_t index() const { return index_; }
  std::shared_ptr<Session> session() const { return session_.lock(); }

 private:
  const Machine* machine_;
  std::size_t index_;
  std::weak_ptr<Session> session_;
};

// Everything the sessions' blocks may still touch after the platform object goes.
struct State {
  explicit State(MachineRef m) : machine(std::move(m)) {}
  MachineRef machine;
  std::mutex mutex;
  std::map<std::size_t, std::shared_ptr<const Dictionary>> replacedDescriptions;
  std::vector<std::weak_ptr<Session>> sessions;
  std::vector<UnmountRequest> unmounts;
  std::vector<std::optional<DADissenter>> answers;
  std::atomic<std::uint64_t> nextId{1};
  // Raised by every simulated appearance, disappearance and change.
  std::atomic<std::uint64_t> generation{0};
};

bool admits(const std::optional<Dictionary>& match, const std::shared_ptr<const Dictionary>& description) {
  if (!match) return true;
  for (const auto& [key, value] : *match) {
    if (!description) return false;
    const Value* have = lookup(*description, key);
    if (have == nullptr || !(*have == value)) return false;
  }
  return true;
}

std::vector<std::string> changedKeys(const std::shared_ptr<const Dictionary>& before, const Dictionary& after) {
  std::vector<std::string> keys;
  const Dictionary old = before ? *before : Dictionary{};
  auto a = old.begin();
  auto b = after.begin();
  while (a != old.end() || b != after.end()) {
    if (b == after.end() || (a != old.end() && a->first < b->first)) {
      keys.push_back(a++->first);
    } else if (a == old.end() || b->first < a->first) {
      keys.push_back(b++->first);
    } else {
      if (!(a->second == b->second)) keys.push_back(a->first);
      ++a;
      ++b;
    }
  }
  return keys;
}

class MachineDiskArbitration final : public SimulatedDiskArbitration {
 public:
  explicit MachineDiskArbitration(MachineRef machine)
      : state_(std::make_shared<State>(std::move(machine))) {}

  DASessionRef DASessionCreate() override {
    if (state_->machine->fails("DASessionCreate")) return nullptr;
    auto session = std::make_shared<Session>();
    std::lock_guard lock(state_->mutex);
    std::erase_if(state_->sessions, [](const auto& s) { return s.expired(); });
    state_->sessions.push_back(session);
    return session;
  }

  void DASessionSetDispatchQueue(const DASessionRef& session, DAExecutor executor) override {
    if (auto* s = sessionOf(session)) s->setExecutor(std::move(executor));
  }

  DADiskRef DADiskCreateFromBSDName(const DASessionRef& session,
                                    std::string_view name) const override {
    if (sessionOf(session) == nullptr) return nullptr;
    auto index = indexOfBSDName(name);
    return index ? diskAt(*index, session) : nullptr;
  }

  DADiskRef DADiskCreateFromVolumePath(const DASessionRef& session, const URL& path) const override {
    if (sessionOf(session) == nullptr || !path.isFileURL()) return nullptr;
    const std::string wanted = normalizeMacPath(path.path());
    if (!descriptionsReplaced()) {
      const auto& byPath = state_->machine->mediaByMountPath;
      auto found = byPath.find(wanted);
      return found == byPath.end() ? nullptr : diskAt(found->second, session);
    }
    for (std::size_t i = 0; i < mediaCount(); ++i) {
      auto d = description(i);
      if (!d) continue;
      const Value* v = lookup(*d, kDADiskDescriptionVolumePathKey);
      if (v != nullptr && v->url() != nullptr && normalizeMacPath(v->url()->path()) == wanted)
        return diskAt(i, session);
    }
    return nullptr;
  }

  DADiskRef DADiskCreateFromIOMedia(const DASessionRef& session,
                                    const IORegistryEntryRef& media) const override {
    if (sessionOf(session) == nullptr) return nullptr;
    auto* entry = dynamic_cast<const MediaRegistryEntry*>(media.get());
    if (entry == nullptr || &entry->machine() != state_->machine.get()) return nullptr;
    return diskAt(entry->index(), session);
  }

  std::shared_ptr<const Dictionary> DADiskCopyDescription(const DADiskRef& disk) const override {
    auto* d = diskOf(disk);
    if (d == nullptr) return nullptr;
    return description(d->index());
  }

  IORegistryEntryRef DADiskCopyIOMedia(const DADiskRef& disk) const override {
    auto* d = diskOf(disk);
    if (d == nullptr) return nullptr;
    return std::make_shared<MediaRegistryEntry>(state_->machine, d->index());
  }

  DADiskRef DADiskCopyWholeDisk(const DADiskRef& disk) const override {
    auto* d = diskOf(disk);
    if (d == nullptr) return nullptr;
    auto whole = wholeDiskIndex(*state_->machine, d->index());
    if (!whole) return nullptr;
    return std::make_shared<Disk>(state_->machine.get(), *whole, d->session());
  }

  std::optional<std::string> DADiskGetBSDName(const DADiskRef& disk) const override {
    auto* d = diskOf(disk);
    if (d == nullptr) return std::nullopt;
    return bsdNameOf(d->index());
  }

  std::size_t CFHash(const DADiskRef& disk) const override {
    auto* d = diskOf(disk);
    if (d == nullptr) return 0;
    return std::hash<std::size_t>{}(d->index()) * 0x9E3779B97F4A7C15ull + 1;
  }

  bool CFEqual(const DADiskRef& a, const DADiskRef& b) const override {
    auto* x = dynamic_cast<const Disk*>(a.get());
    auto* y = dynamic_cast<const Disk*>(b.get());
    if (x == nullptr || y == nullptr) return x == y && a == b;
    return x->machine() == y->machine() && x->index() == y->index();
  }

  DACallbackRegistration DARegisterDiskAppearedCallback(const DASessionRef& session,
                                                        std::optional<Dictionary> match,
                                                        DADiskAppearedCallback callback) override {
    auto r = makeRegistration(EventKind::Appeared, std::move(match));
    r->diskCallback = std::move(callback);
    auto token = enroll(session, r);
    if (token.id != 0) {
      for (std::size_t i = 0; i < mediaCount(); ++i)
        if (admits(r->match, description(i))) deliverDisk(session, r, i);
    }
    return token;
  }

  DACallbackRegistration DARegisterDiskDisappearedCallback(
      const DASessionRef& session, std::optional<Dictionary> match,
      DADiskDisappearedCallback callback) override {
    auto r = makeRegistration(EventKind::Disappeared, std::move(match));
    r->diskCallback = std::move(callback);
    return enroll(session, r);
  }

  DACallbackRegistration DARegisterDiskDescriptionChangedCallback(
      const DASessionRef& session, std::optional<Dictionary> match,
      std::optional<std::vector<std::string>> watch,
      DADiskDescriptionChangedCallback callback) override {
    auto r = makeRegistration(EventKind::DescriptionChanged, std::move(match));
    r->watch = std::move(watch);
    r->changedCallback = std::move(callback);
    return enroll(session, r);
  }

  DACallbackRegistration DARegisterDiskPeekCallback(const DASessionRef& session,
                                                    std::optional<Dictionary> match, std::int32_t,
                                                    DADiskPeekCallback callback) override {
    auto r = makeRegistration(EventKind::Peek, std::move(match));
    r->diskCallback = std::move(callback);
    return enroll(session, r);
  }

  DACallbackRegistration DARegisterDiskMountApprovalCallback(
      const DASessionRef& session, std::optional<Dictionary> match,
      DADiskApprovalCallback callback) override {
    return enrollApproval(EventKind::MountApproval, session, std::move(match), std::move(callback));
  }
  DACallbackRegistration DARegisterDiskUnmountApprovalCallback(
      const DASessionRef& session, std::optional<Dictionary> match,
      DADiskApprovalCallback callback) override {
    return enrollApproval(EventKind::UnmountApproval, session, std::move(match),
                          std::move(callback));
  }
  DACallbackRegistration DARegisterDiskEjectApprovalCallback(
      const DASessionRef& session, std::optional<Dictionary> match,
      DADiskApprovalCallback callback) override {
    return enrollApproval(EventKind::EjectApproval, session, std::move(match), std::move(callback));
  }

  void DAUnregisterCallback(const DASessionRef& session,
                            DACallbackRegistration registration) override {
    if (auto* s = sessionOf(session)) s->remove(registration.id);
  }

  void DADiskUnmount(const DADiskRef& disk, std::uint32_t options,
                     DADiskUnmountCallback callback) override {
    auto* d = diskOf(disk);
    {
      std::lock_guard lock(state_->mutex);
      state_->unmounts.push_back(
          UnmountRequest{d ? bsdNameOfLocked(d->index()) : std::nullopt, options});
    }
    if (!callback || d == nullptr) return;
    if (auto session = d->session())
      session->deliver([callback = std::move(callback), disk] { callback(disk, std::nullopt); });
  }

  // The simulated events.
  std::size_t simulateDiskAppeared(std::string_view bsdName) override {
    state_->generation.fetch_add(1);
    return raise(EventKind::Appeared, bsdName);
  }
  std::size_t simulateDiskDisappeared(std::string_view bsdName) override {
    state_->generation.fetch_add(1);
    return raise(EventKind::Disappeared, bsdName);
  }
  std::uint64_t diskStateGeneration() const override { return state_->generation.load(); }
  std::size_t simulateDiskPeek(std::string_view bsdName) override {
    return raise(EventKind::Peek, bsdName);
  }
  std::size_t simulateMountApproval(std::string_view bsdName) override {
    return raise(EventKind::MountApproval, bsdName);
  }
  std::size_t simulateUnmountApproval(std::string_view bsdName) override {
    return raise(EventKind::UnmountApproval, bsdName);
  }
  std::size_t simulateEjectApproval(std::string_view bsdName) override {
    return raise(EventKind::EjectApproval, bsdName);
  }

  std::size_t simulateDescriptionChanged(std::string_view bsdName, Dictionary newDescription) override {
    auto index = indexOfBSDName(bsdName);
    if (!index) return 0;
    std::vector<std::string> keys;
    auto replacement = std::make_shared<const Dictionary>(std::move(newDescription));
    {
      std::lock_guard lock(state_->mutex);
      keys = changedKeys(descriptionLocked(*index), *replacement);
      state_->replacedDescriptions[*index] = replacement;
      const Value* name = lookup(*replacement, kDADiskDescriptionVolumeNameKey);
      if (name != nullptr && name->string() != nullptr &&
          std::find(keys.begin(), keys.end(), kDADiskDescriptionVolumeNameKey) != keys.end())
        state_->machine->changes.renameVolume(*index, *name->string());
      state_->generation.fetch_add(1);
    }
    std::size_t count = 0;
    for (const auto& session : liveSessions()) {
      for (const auto& r : session->registrations(EventKind::DescriptionChanged)) {
        if (!admits(r->match, replacement)) continue;
        std::vector<std::string> seen;
        for (const auto& k : keys)
          if (!r->watch || std::find(r->watch->begin(), r->watch->end(), k) != r->watch->end())
            seen.push_back(k);
        if (seen.empty()) continue;
        DADiskRef disk = std::make_shared<Disk>(state_->machine.get(), *index, session);
        session->deliver([r, disk, seen = std::move(seen)] {
          if (r->active) r->changedCallback(disk, seen);
        });
        ++count;
      }
    }
    return count;
  }

  std::size_t simulateVolumeRenamed(std::string_view bsdName, std::string name) override {
    auto index = indexOfBSDName(bsdName);
    if (!index) return 0;
    auto current = description(*index);
    Dictionary renamed = current ? *current : Dictionary{};
    renamed.insert_or_assign(std::string(kDADiskDescriptionVolumeNameKey), Value(std::move(name)));
    return simulateDescriptionChanged(bsdName, std::move(renamed));
  }

  std::vector<UnmountRequest> unmountRequests() const override {
    std::lock_guard lock(state_->mutex);
    return state_->unmounts;
  }

  std::vector<std::optional<DADissenter>> approvalAnswers() const override {
    std::lock_guard lock(state_->mutex);
    return state_->answers;
  }

 private:
  static Session* sessionOf(const DASessionRef& session) {
    return dynamic_cast<Session*>(session.get());
  }

  const Disk* diskOf(const DADiskRef& disk) const {
    auto* d = dynamic_cast<const Disk*>(disk.get());
    if (d == nullptr || d->machine() != state_->machine.get()) return nullptr;
    return d;
  }

  std::size_t mediaCount() const { return state_->machine->media.size(); }

  DADiskRef diskAt(std::size_t index, const DASessionRef& session) const {
    return std::make_shared<Disk>(state_->machine.get(), index,
                                  std::static_pointer_cast<Session>(session));
  }

  std::shared_ptr<const Dictionary> descriptionLocked(std::size_t index) const {
    if (auto it = state_->replacedDescriptions.find(index); it != state_->replacedDescriptions.end())
      return it->second;
    return state_->machine->media[index].da;
  }
  std::shared_ptr<const Dictionary> description(std::size_t index) const {
    std::lock_guard lock(state_->mutex);
    return descriptionLocked(index);
  }

  std::optional<std::string> bsdNameOfLocked(std::size_t index) const {
    const auto& d = descriptionLocked(index);
    if (!d) return std::nullopt;
    const Value* v = lookup(*d, kDADiskDescriptionMediaBSDNameKey);
    if (v == nullptr || v->string() == nullptr) return std::nullopt;
    return *v->string();
  }
  std::optional<std::string> bsdNameOf(std::size_t index) const {
    std::lock_guard lock(state_->mutex);
    return bsdNameOfLocked(index);
  }

  // Whether a simulated change replaced a description: then the machine's
  // own lookups no longer hold, and the descriptions are searched.
  bool descriptionsReplaced() const {
    std::lock_guard lock(state_->mutex);
    return !state_->replacedDescriptions.empty();
  }

  std::optional<std::size_t> indexOfBSDName(std::string_view name) const {
    name = stripDevPrefix(name);
    if (!name.empty() && !descriptionsReplaced()) return mediaIndexByBSDName(*state_->machine, name);
    for (std::size_t i = 0; i < mediaCount(); ++i)
      if (bsdNameOf(i) == std::optional<std::string>(name)) return i;
    return std::nullopt;
  }

  std::vector<std::shared_ptr<Session>> liveSessions() const {
    std::lock_guard lock(state_->mutex);
    std::vector<std::shared_ptr<Session>> result;
    for (const auto& s : state_->sessions)
      if (auto live = s.lock()) result.push_back(std::move(live));
    return result;
  }

  RegistrationRef makeRegistration(EventKind kind, std::optional<Dictionary> match) {
    auto r = std::make_shared<Registration>();
    r->id = state_->nextId++;
    r->kind = kind;
    r->match = std::move(match);
    return r;
  }

  DACallbackRegistration enroll(const DASessionRef& session, const RegistrationRef& r) {
    auto* s = sessionOf(session);
    if (s == nullptr) return {};
    s->add(r);
    return DACallbackRegistration{r->id};
  }

  DACallbackRegistration enrollApproval(EventKind kind, const DASessionRef& session,
                                        std::optional<Dictionary> match,
                                        DADiskApprovalCallback callback) {
    auto r = makeRegistration(kind, std::move(match));
    r->approvalCallback = std::move(callback);
    return enroll(session, r);
  }

  // One block on the session's executor that calls a registration with a disk.
  void deliverDisk(const DASessionRef& sessionRef, const RegistrationRef& r, std::size_t index) {
    auto session = std::static_pointer_cast<Session>(sessionRef);
    DADiskRef disk = std::make_shared<Disk>(state_->machine.get(), index, session);
    if (r->approvalCallback) {
      session->deliver([r, disk, state = state_] {
        if (!r->active) return;
        auto answer = r->approvalCallback(disk);
        std::lock_guard lock(state->mutex);
        state->answers.push_back(std::move(answer));
      });
    } else {
      session->deliver([r, disk] {
        if (r->active) r->diskCallback(disk);
      });
    }
  }

  std::size_t raise(EventKind kind, std::string_view bsdName) {
    auto index = indexOfBSDName(bsdName);
    if (!index) return 0;
    auto current = description(*index);
    std::size_t count = 0;
    for (const auto& session : liveSessions()) {
      for (const auto& r : session->registrations(kind)) {
        if (!admits(r->match, current)) continue;
        deliverDisk(session, r, *index);
        ++count;
      }
    }
    return count;
  }

  std::shared_ptr<State> state_;
};

}  // namespace

std::shared_ptr<DiskArbitration> makeMachineDiskArbitration(MachineRef machine) {
  return std::make_shared<MachineDiskArbitration>(std::move(machine));
}

}  // namespace platform::machine
