#include "support/run_cvdiag.h"

#include <poll.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <regex>
#include <stdexcept>

extern char** environ;

namespace cvdiag_test {
namespace {

std::vector<std::string> mergedEnvironment(const std::map<std::string, std::string>& changes) {
  std::map<std::string, std::string> all;
  for (char** entry = environ; entry && *entry; ++entry) {
    std::string text(*entry);
    auto eq = text.find('=');
    if (eq == std::string::npos) continue;
    all[text.substr(0, eq)] = text.substr(eq + 1);
  }
  // The terminal size of the test run must not leak into the child.
  all.erase("COLUMNS");
  all.erase("LINES");
  for (const auto& [key, value] : changes) all[key] = value;
  std::vector<std::string> result;
  for (const auto& [key, value] : all) result.push_back(key + "=" + value);
  return result;
}

std::vector<char*> pointers(std::vector<std::string>& strings) {
  std::vector<char*> result;
  for (auto& s : strings) result.push_back(s.data());
  result.push_back(nullptr);
  return result;
}

}  // namespace

RunResult runProgram(const std::string& executable, const std::vector<std::string>& arguments,
                     const std::map<std::string, std::string>& environment) {
  int outPipe[2];
  int errPipe[2];
  if (pipe(outPipe) != 0 || pipe(errPipe) != 0) throw std::runtime_error("pipe failed");

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, outPipe[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, errPipe[1], STDERR_FILENO);
  for (int fd : {outPipe[0], outPipe[1], errPipe[0], errPipe[1]}) posix_spawn_file_actions_addclose(&actions, fd);

  std::vector<std::string> argv{executable};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  auto argvPointers = pointers(argv);
  auto env = mergedEnvironment(environment);
  auto envPointers = pointers(env);

  pid_t child = 0;
  int spawned = posix_spawn(&child, executable.c_str(), &actions, nullptr, argvPointers.data(), envPointers.data());
  posix_spawn_file_actions_destroy(&actions);
  close(outPipe[1]);
  close(errPipe[1]);
  if (spawned != 0) {
    close(outPipe[0]);
    close(errPipe[0]);
    throw std::runtime_error("cannot start " + executable);
  }

  RunResult result;
  // Read both streams until both are closed, so that neither pipe fills up.
  pollfd fds[2] = {{outPipe[0], POLLIN, 0}, {errPipe[0], POLLIN, 0}};
  std::string* targets[2] = {&result.out, &result.err};
  int open = 2;
  char buffer[4096];
  while (open > 0) {
    if (poll(fds, 2, -1) < 0) {
      if (errno == EINTR) continue;
      break;
    }
    for (int i = 0; i < 2; ++i) {
      if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP | POLLERR))) continue;
      ssize_t n = read(fds[i].fd, buffer, sizeof buffer);
      if (n > 0) {
        targets[i]->append(buffer, static_cast<std::size_t>(n));
      } else if (n == 0 || errno != EINTR) {
        close(fds[i].fd);
        fds[i].fd = -1;
        --open;
      }
    }
  }

  int status = 0;
  rusage usage{};
  while (wait4(child, &status, 0, &usage) < 0 && errno == EINTR) {
  }
  result.peakResidentKilobytes = usage.ru_maxrss;
  if (WIFEXITED(status))
    result.status = WEXITSTATUS(status);
  else if (WIFSIGNALED(status))
    result.status = 128 + WTERMSIG(status);
  return result;
}

RunResult runCVDiag(const std::vector<std::string>& arguments, const std::map<std::string, std::string>& environment) {
  return runProgram(CVDIAG_EXECUTABLE, arguments, environment);
}

std::string readFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string withoutVolatileParts(const std::string& report) {
  static const std::regex revision(R"(^(Corvane Diagnostics version: [0-9.]+ \([0-9]+-)[^)]*\))");
  static const std::regex dumpRow(
      R"(^([0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12} .* (?:YES|NO) +)[0-9A-F]+( .*)$)");
  const std::string masked = std::regex_replace(report, revision, "$1<rev>)");
  std::string out;
  for (std::size_t start = 0; start < masked.size();) {
    std::size_t end = masked.find('\n', start);
    if (end == std::string::npos) end = masked.size();
    out += std::regex_replace(masked.substr(start, end - start), dumpRow, "$1<hash>$2");
    if (end < masked.size()) out += '\n';
    start = end + 1;
  }
  return out;
}

}  // namespace cvdiag_test
