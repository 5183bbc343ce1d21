// Feeds arbitrary lines to the host: every line gets an answer or is taken
// as a call, and a line the host cannot take is a hostError, never a crash.
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz_check.h"
#include "host/host.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  size_t lines = 0;
  movaro::host::Host host([&lines](const movaro::host::Json& line) {
    check(line.is_object());
    ++lines;
  });
  std::string text(reinterpret_cast<const char*>(data), size);
  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) {
      end = text.size();
    }
    host.handleLine(text.substr(start, end - start));
    start = end + 1;
  }
  // Let every timer of every operation run out.
  host.handleLine(R"({"id":0,"sim":"advance","seconds":600})");
  check(lines > 0);
  return 0;
}
