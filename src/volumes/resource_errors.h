#pragma once
// Where the volume model writes the text of a failed URL resource read: the
// error's localized description on a line of its own, into the stream the
// report is writing to, so the text lands between the report lines as they
// are produced. A report opens a ResourceErrorReport on its stream for as
// long as it runs; reads made while none is open write nothing.

#include <ostream>
#include <string_view>

class ResourceErrorReport {
 public:
  explicit ResourceErrorReport(std::ostream& out);
  ~ResourceErrorReport();
  ResourceErrorReport(const ResourceErrorReport&) = delete;
  ResourceErrorReport& operator=(const ResourceErrorReport&) = delete;

 private:
  std::ostream* previous_;
};

// Writes the text and a line feed to the open report's stream, if any. Safe
// from any thread.
void reportResourceError(std::string_view localizedDescription);
