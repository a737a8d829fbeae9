// Reading a machine folder's machine.json into a Machine, and the Machine of
// this host. Every problem is reported as one line that names the file, the
// place in it ("media[2].da.DAVolumePath") and what was wrong.

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>

#include <nlohmann/json.hpp>

#include "platform/machine/base64.h"
#include "platform/machine/json_outline.h"
#include "platform/machine/machine.h"
#include "platform/machine/machine_queries.h"
#include "platform/machine/property_list_codec.h"
#include "platform/system_unreadable.h"

namespace platform::machine {

namespace {

using nlohmann::json;

// machine.json is written by people and tests; anything larger or deeper than
// this is no machine description and is refused before it is parsed.
constexpr std::uintmax_t kMaxMachineFileSize = 64ull * 1024 * 1024;
constexpr int kMaxNesting = 256;

// A problem at one place of the document; turned into the line at the top.
struct LoadError {
  std::string where;
  std::string what;
};

std::string oneLine(std::string text) {
  for (char& c : text)
    if (c == '\n' || c == '\r') c = ' ';
  return text;
}

// Whether brackets nest deeper than the limit, strings skipped. Runs before
// the parser so that a hostile file never reaches a recursive step.
bool nestsTooDeep(const std::string& text) {
  int depth = 0;
  bool inString = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (inString) {
      if (c == '\\') ++i;
      else if (c == '"') inString = false;
      continue;
    }
    if (c == '"') inString = true;
    else if (c == '[' || c == '{') {
      if (++depth > kMaxNesting) return true;
    } else if (c == ']' || c == '}') {
      --depth;
    }
  }
  return false;
}

bool isTypedValue(const json& j);

std::string typeName(const json& j) {
  if (isTypedValue(j)) return "a typed value (" + j.begin().key() + ")";
  switch (j.type()) {
    case json::value_t::null: return "null";
    case json::value_t::boolean: return "a boolean";
    case json::value_t::number_integer:
    case json::value_t::number_unsigned:
    case json::value_t::number_float: return "a number";
    case json::value_t::string: return "text";
    case json::value_t::array: return "an array";
    case json::value_t::object: return "an object";
    default: return "an unsupported value";
  }
}

[[noreturn]] void fail(const std::string& where, std::string what) {
  throw LoadError{where, std::move(what)};
}

[[noreturn]] void expected(const std::string& where, const std::string& wanted, const json& got) {
  fail(where, "expected " + wanted + ", found " + typeName(got));
}

std::string keyPath(const std::string& base, const std::string& key) {
  return base.empty() ? key : base + "." + key;
}
std::string indexPath(const std::string& base, std::size_t i) {
  return base + "[" + std::to_string(i) + "]";
}

std::optional<std::vector<std::uint8_t>> decodeBase64(std::string_view text) {
  std::string clean;
  for (char c : text)
    if (c != ' ' && c != '\n' && c != '\r' && c != '\t') clean.push_back(c);
  if (clean.size() % 4 != 0) return std::nullopt;
  std::vector<std::uint8_t> out;
  for (std::size_t i = 0; i < clean.size(); i += 4) {
    int v[4];
    int pad = 0;
    for (int k = 0; k < 4; ++k) {
      char c = clean[i + k];
      if (c == '=') {
        if (i + 4 != clean.size() || k < 2) return std::nullopt;
        v[k] = 0;
        ++pad;
      } else {
        if (pad > 0) return std::nullopt;
        v[k] = base64Digit(c);
        if (v[k] < 0) return std::nullopt;
      }
    }
    std::uint32_t n = (v[0] << 18) | (v[1] << 12) | (v[2] << 6) | v[3];
    out.push_back(static_cast<std::uint8_t>(n >> 16));
    if (pad < 2) out.push_back(static_cast<std::uint8_t>((n >> 8) & 0xFF));
    if (pad < 1) out.push_back(static_cast<std::uint8_t>(n & 0xFF));
  }
  return out;
}

bool isTypedValue(const json& j) {
  return j.is_object() && j.size() == 1 && !j.begin().key().empty() && j.begin().key()[0] == '$';
}

Value toValue(const json& j, const std::string& where);

Value typedValue(const json& j, const std::string& where) {
  const std::string& tag = j.begin().key();
  const json& body = j.begin().value();
  std::string here = keyPath(where, tag);
  if (tag != "$url" && tag != "$uuid" && tag != "$data" && tag != "$date")
    fail(where, "unknown typed value " + tag + " (known: $url, $uuid, $data, $date)");
  if (!body.is_string()) expected(here, "text", body);
  const std::string& text = body.get_ref<const std::string&>();
  if (tag == "$url") {
    auto url = URL::fromString(text);
    if (!url) fail(here, "expected an absolute URL, found \"" + text + "\"");
    return Value(*url);
  }
  if (tag == "$uuid") {
    auto uuid = UUID::fromString(text);
    if (!uuid) fail(here, "expected a UUID (8-4-4-4-12 hexadecimal), found \"" + text + "\"");
    return Value(*uuid);
  }
  if (tag == "$data") {
    auto bytes = decodeBase64(text);
    if (!bytes) fail(here, "expected base64 text");
    return Value(Bytes(std::move(*bytes)));
  }
  auto date = Date::fromISO8601(text);
  if (!date) fail(here, "expected a date like 2024-03-01T10:00:00Z, found \"" + text + "\"");
  return Value(*date);
}

Dictionary toDictionary(const json& j, const std::string& where) {
  if (!j.is_object() || isTypedValue(j)) expected(where, "an object", j);
  Dictionary d;
  for (auto it = j.begin(); it != j.end(); ++it)
    d.emplace(it.key(), toValue(it.value(), keyPath(where, it.key())));
  return d;
}

Value toValue(const json& j, const std::string& where) {
  switch (j.type()) {
    case json::value_t::string: return Value(j.get_ref<const std::string&>());
    case json::value_t::boolean: return Value(j.get<bool>());
    case json::value_t::number_integer: return Value(static_cast<long long>(j.get<std::int64_t>()));
    case json::value_t::number_unsigned: {
      // Non-negative numbers are plain signed numbers where they fit.
      auto u = j.get<std::uint64_t>();
      if (u <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
        return Value(static_cast<long long>(u));
      return Value(static_cast<unsigned long long>(u));
    }
    case json::value_t::number_float: return Value(j.get<double>());
    case json::value_t::array: {
      Array a;
      a.reserve(j.size());
      for (std::size_t i = 0; i < j.size(); ++i) a.push_back(toValue(j[i], indexPath(where, i)));
      return Value(std::move(a));
    }
    case json::value_t::object:
      if (isTypedValue(j)) return typedValue(j, where);
      return Value(toDictionary(j, where));
    default: fail(where, "expected a value, found " + typeName(j));
  }
}

std::string text(const json& j, const std::string& where) {
  if (!j.is_string()) expected(where, "text", j);
  return j.get<std::string>();
}

std::int64_t integer(const json& j, const std::string& where) {
  if (j.is_number_integer() && !j.is_number_unsigned()) return j.get<std::int64_t>();
  if (j.is_number_unsigned()) {
    auto u = j.get<std::uint64_t>();
    if (u <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
      return static_cast<std::int64_t>(u);
    fail(where, "number out of range");
  }
  expected(where, "an integer", j);
}

std::uint64_t unsignedInteger(const json& j, const std::string& where) {
  if (j.is_number_unsigned()) return j.get<std::uint64_t>();
  if (j.is_number_integer()) fail(where, "expected a non-negative integer");
  expected(where, "a non-negative integer", j);
}

const json& objectAt(const json& j, const std::string& where) {
  if (!j.is_object() || isTypedValue(j)) expected(where, "an object", j);
  return j;
}

const json& arrayAt(const json& j, const std::string& where) {
  if (!j.is_array()) expected(where, "an array", j);
  return j;
}

std::string macPath(const json& j, const std::string& where) {
  std::string path = text(j, where);
  if (path.empty() || path[0] != '/')
    fail(where, "expected an absolute Mac path, found \"" + path + "\"");
  return path;
}

VolumeFacts readVolume(const json& j, const std::string& where) {
  objectAt(j, where);
  VolumeFacts v;
  for (auto it = j.begin(); it != j.end(); ++it) {
    const std::string& key = it.key();
    const json& value = it.value();
    std::string here = keyPath(where, key);
    if (key == "resources") {
      v.resources = toDictionary(value, here);
    } else if (key == "resourceError") {
      v.resourceError = text(value, here);
    } else if (key == "statfs") {
      objectAt(value, here);
      StatfsFacts s;
      for (auto f = value.begin(); f != value.end(); ++f) {
        std::string field = keyPath(here, f.key());
        if (f.key() == "bsize") s.bsize = unsignedInteger(f.value(), field);
        else if (f.key() == "blocks") s.blocks = unsignedInteger(f.value(), field);
        else if (f.key() == "bfree") s.bfree = unsignedInteger(f.value(), field);
        else if (f.key() == "flags") s.flags = unsignedInteger(f.value(), field);
      }
      v.statfs = s;
    } else if (key == "fileCount") {
      v.fileCount = integer(value, here);
    } else if (key == "directoryCount") {
      v.directoryCount = integer(value, here);
    } else if (key == "device") {
      v.device = integer(value, here);
    } else if (key == "realDevice") {
      v.realDevice = integer(value, here);
    }
  }
  return v;
}

MediaObject readMedia(const json& j, const std::string& where) {
  objectAt(j, where);
  MediaObject m;
  for (auto it = j.begin(); it != j.end(); ++it) {
    const std::string& key = it.key();
    const json& value = it.value();
    std::string here = keyPath(where, key);
    if (key == "da") {
      m.da = std::make_shared<const Dictionary>(toDictionary(value, here));
    } else if (key == "io") {
      m.io = toDictionary(value, here);
    } else if (key == "ioParents") {
      arrayAt(value, here);
      for (std::size_t i = 0; i < value.size(); ++i)
        m.ioParents.push_back(toDictionary(value[i], indexPath(here, i)));
    } else if (key == "whole") {
      if (value.is_null()) {
        m.whole.kind = WholeRule::Kind::None;
      } else {
        m.whole.kind = WholeRule::Kind::Named;
        m.whole.bsdName = text(value, here);
        if (m.whole.bsdName.rfind("/dev/", 0) == 0) m.whole.bsdName.erase(0, 5);
      }
    } else if (key == "volume") {
      m.volume = readVolume(value, here);
    }
  }
  return m;
}

FileFacts readFile(const json& j, const std::string& where) {
  objectAt(j, where);
  FileFacts f;
  for (auto it = j.begin(); it != j.end(); ++it) {
    std::string here = keyPath(where, it.key());
    if (it.key() == "created" || it.key() == "modified") {
      Value v = toValue(it.value(), here);
      if (v.date() == nullptr) expected(here, "a date ({\"$date\": …})", it.value());
      (it.key() == "created" ? f.created : f.modified) = *v.date();
    } else if (it.key() == "error") {
      f.error = text(it.value(), here);
    }
  }
  return f;
}

// One top-level member of the document into the machine; unknown keys are
// ignored.
void readMember(const std::string& key, const json& value, Machine& m) {
  if (key == "home") {
    m.home = macPath(value, key);
    while (m.home.size() > 1 && m.home.back() == '/') m.home.pop_back();
  } else if (key == "bundleIdentifier") {
    if (!value.is_null()) m.bundleIdentifier = text(value, key);
  } else if (key == "media") {
    arrayAt(value, key);
    for (std::size_t i = 0; i < value.size(); ++i) m.media.push_back(readMedia(value[i], indexPath(key, i)));
  } else if (key == "files") {
    objectAt(value, key);
    for (auto f = value.begin(); f != value.end(); ++f) {
      std::string here = key + "[\"" + f.key() + "\"]";
      if (f.key().empty() || f.key()[0] != '/') fail(here, "expected an absolute Mac path as the key");
      m.files[normalizeMacPath(f.key())] = readFile(f.value(), here);
    }
  } else if (key == "failures") {
    arrayAt(value, key);
    for (std::size_t i = 0; i < value.size(); ++i) m.failures.insert(text(value[i], indexPath(key, i)));
  }
}

void readDocument(const json& root, Machine& m) {
  if (!root.is_object()) expected("top level", "an object", root);
  for (auto it = root.begin(); it != root.end(); ++it) readMember(it.key(), it.value(), m);
}

// The one line of a fault: the file, the place in it, the problem.
std::string faultLine(const std::string& fileName, const LoadError& e) {
  return fileName + ": " + oneLine(e.where) + ": " + oneLine(e.what);
}

// The words of the JSON library's complaint about a text, without its
// "[json.exception.parse_error.101] " prefix, on one line.
std::string syntaxError(const json::exception& e) {
  std::string what = e.what();
  if (auto close = what.find("] "); what.rfind("[json.exception.", 0) == 0 && close != std::string::npos)
    what.erase(0, close + 2);
  return "invalid JSON: " + oneLine(what);
}

// A part of the document that the outline found, as the JSON library reads
// it; nothing when it is no JSON.
std::optional<json> parsePart(std::string_view part) {
  json value = json::parse(part, nullptr, false);
  if (value.is_discarded()) return std::nullopt;
  return value;
}

// The outline of machine.json that a run reads on demand: the top level's
// members, each media object's members, and the members of its description,
// where the BSD name and the mount path stand.
constexpr int kOutlineDepth = 4;

// Reads the document as MachineReading::onDemand tells: everything but the
// media objects at once, and of each media object its names, keeping its
// text to read when it is first asked for. Nothing when the document is not
// laid out so that this can be done (it does not outline, or a part is no
// JSON, or has a shape the format does not allow): the caller then reads it
// whole, which finds the fault and names it.
std::optional<std::shared_ptr<Machine>> readOnDemand(const Bytes& content, const std::string& fileName) {
  const std::string_view document(reinterpret_cast<const char*>(content.bytes().data()), content.bytes().size());
  auto outline = JsonOutline::of(document, kOutlineDepth, kMaxNesting, {"media", "da"});
  if (!outline || outline->root().kind() != JsonOutline::Kind::object) return std::nullopt;
  const auto root = outline->root();
  auto m = std::make_shared<Machine>();
  // The members the format defines, each as the library keeps a key written
  // twice (the last one), in the library's (ascending) key order.
  for (const char* key : {"bundleIdentifier", "failures", "files", "home"}) {
    auto member = root.last(key);
    if (!member) continue;
    auto value = parsePart(member->text());
    if (!value) return std::nullopt;
    readMember(key, *value, *m);
  }
  const auto media = root.last("media");
  if (!media) return m;
  if (media->kind() != JsonOutline::Kind::array) return std::nullopt;
  // An object that might be a typed value (every key begins with "$").
  auto typedShape = [](const JsonOutline::Value& o) {
    if (o.kind() != JsonOutline::Kind::object || !o.first()) return false;
    for (auto member = o.first(); member; member = member->next())
      if (member->key().empty() || member->key()[0] != '$') return false;
    return true;
  };
  // One reader for every object not read yet; it keeps the mapped file.
  auto reader = std::make_shared<const MediaList::Reader>([content, fileName](std::string_view text,
                                                                              std::size_t index) -> MediaObject {
    std::string line;
    try {
      return readMedia(json::parse(text), indexPath("media", index));
    } catch (const LoadError& e) {
      line = faultLine(fileName, e);
    } catch (const json::parse_error&) {
      // The library's words name the line and column in the whole file.
      try {
        const json whole = json::parse(content.bytes());
        line = fileName + ": invalid JSON";
      } catch (const json::exception& e) {
        line = fileName + ": " + syntaxError(e);
      }
    } catch (const json::exception& e) {
      line = fileName + ": " + oneLine(e.what());
    }
    throw SystemUnreadable(line);
  });
  std::size_t i = 0;
  for (auto element = media->first(); element; element = element->next(), ++i) {
    const std::string place = indexPath("media", i);
    const auto da = element->kind() == JsonOutline::Kind::object ? element->last("da") : std::nullopt;
    if (element->kind() != JsonOutline::Kind::object || typedShape(*element) ||
        (da && (da->kind() != JsonOutline::Kind::object || typedShape(*da)))) {
      // Not of the format's shape: read at once, as the whole file is, so
      // the fault is named at start.
      auto value = parsePart(element->text());
      if (!value) return std::nullopt;
      m->media.push_back(readMedia(*value, place));
      continue;
    }
    std::optional<std::string> bsdName, mountPath;
    if (da) {
      const std::string daPlace = keyPath(place, "da");
      if (auto bsd = da->last("DAMediaBSDName")) {
        auto value = parsePart(bsd->text());
        if (!value) return std::nullopt;
        const Value v = toValue(*value, keyPath(daPlace, "DAMediaBSDName"));
        bsdName = bsdNameOf(&v);
      }
      if (auto path = da->last("DAVolumePath")) {
        auto value = parsePart(path->text());
        if (!value) return std::nullopt;
        const Value v = toValue(*value, keyPath(daPlace, "DAVolumePath"));
        mountPath = mountPathOf(&v);
      }
    }
    m->media.pushUnread(reader, element->text(), std::move(bsdName), std::move(mountPath));
  }
  return m;
}

}  // namespace

std::variant<std::shared_ptr<const Machine>, std::string> loadMachine(
    const std::filesystem::path& folder, MachineReading reading) {
  std::error_code ec;
  std::filesystem::path root = std::filesystem::absolute(folder, ec);
  if (ec) root = folder;
  const std::filesystem::path file = folder / "machine.json";
  const std::string name = file.string();

  if (!std::filesystem::is_directory(root, ec))
    return name + ": the machine folder does not exist or is no directory";

  if (reading == MachineReading::onDemand) {
    // Mapped, not copied: the media objects' texts stay in the mapping until
    // they are read.
    auto mapped = mapFile(file);
    if (mapped && mapped->bytes().size() <= kMaxMachineFileSize) {
      try {
        if (auto machine = readOnDemand(*mapped, name)) {
          (*machine)->folder = root.lexically_normal();
          (*machine)->indexMedia();
          return std::shared_ptr<const Machine>(std::move(*machine));
        }
      } catch (const LoadError& e) {
        return faultLine(name, e);
      }
    }
    // Read whole, which names the fault.
  }

  std::ifstream in(file, std::ios::binary);
  if (!in) return name + ": cannot be read (" + std::strerror(errno) + ")";
  auto size = std::filesystem::file_size(file, ec);
  if (ec) return name + ": cannot be read (" + ec.message() + ")";
  if (size > kMaxMachineFileSize)
    return name + ": too large (" + std::to_string(size) + " bytes, at most " +
           std::to_string(kMaxMachineFileSize) + ")";
  // Read straight into one text sized by the file, so a large machine is
  // held once while it is parsed; whatever the file has grown by since its
  // size was taken is appended.
  std::string content(static_cast<std::size_t>(size), '\0');
  in.read(content.data(), static_cast<std::streamsize>(content.size()));
  content.resize(static_cast<std::size_t>(in.gcount()));
  if (in) content.append(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());

  if (nestsTooDeep(content))
    return name + ": nested deeper than " + std::to_string(kMaxNesting) + " levels";

  json document;
  try {
    document = json::parse(content);
  } catch (const json::exception& e) {
    return name + ": " + syntaxError(e);
  }

  auto machine = std::make_shared<Machine>();
  machine->folder = root.lexically_normal();
  try {
    readDocument(document, *machine);
    machine->indexMedia();
  } catch (const LoadError& e) {
    return faultLine(name, e);
  } catch (const json::exception& e) {
    return name + ": " + oneLine(e.what());
  }
  return std::shared_ptr<const Machine>(std::move(machine));
}

std::shared_ptr<const Machine> hostMachine() {
  auto m = std::make_shared<Machine>();
  m->folder = "/";
  m->isHost = true;
  if (const char* home = std::getenv("HOME"); home != nullptr && home[0] == '/') m->home = home;
  return m;
}

}  // namespace platform::machine
