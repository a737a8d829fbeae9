#pragma once
// NSUserDefaults: the process's standard domain and the suites of other
// applications, each a property-list file of the user's preferences.
//
// A domain is read when it is first used and again whenever its file has
// changed since (another process wrote it). Every write goes to the file at
// once: when setObject or removeObjectForKey returns, the change is on disk,
// so nothing is lost when the process ends right after.
//
// Never losing stored data: a write changes only its own key. It re-reads the
// file under a lock that every writer of the domain takes, and writes the
// whole dictionary back, so another writer's keys, threads and processes
// alike, survive. A domain file that cannot be read as a dictionary
// (damaged, hostile, too large, or of another kind) is never replaced: the
// write keeps its value in this process only, and reports that it did not
// reach the file. A reader of such a domain sees no stored values.
//
// Thread safety: all operations may be called from any thread at once.

#include <memory>
#include <optional>
#include <string_view>

#include "platform/value.h"

namespace platform {

class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  // The value stored under the key, or nothing.
  virtual std::optional<Value> objectForKey(std::string_view key) const = 0;
  // The value under the key when it is a dictionary, else nothing.
  virtual std::optional<Dictionary> dictionaryForKey(std::string_view key) const = 0;
  // Stores the value under the key. True when the domain file now holds it;
  // false when it stays in this process only (see above).
  virtual bool setObject(const Value& value, std::string_view key) = 0;
  // Removes the key; true when the domain file no longer holds it.
  virtual bool removeObjectForKey(std::string_view key) = 0;
};

class UserDefaultsStore {
 public:
  virtual ~UserDefaultsStore() = default;

  // The process's own domain: its bundle identifier, or "CVDiag" for the
  // bare tool. Always the same object.
  virtual std::shared_ptr<UserDefaults> standardUserDefaults() = 0;

  // initWithSuiteName: the domain of that name. Nothing for a name that can't
  // name a domain file (empty, ".", "..", holding "/" or U+0000). Opening a
  // suite creates no file; the first write does.
  virtual std::shared_ptr<UserDefaults> initWithSuiteName(std::string_view suiteName) = 0;
};

}  // namespace platform
