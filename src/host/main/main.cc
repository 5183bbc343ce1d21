// movaro-host [demo] [--clock virtual|real] [--state DIR]
#include <iostream>
#include <memory>
#include <string>
#include <utility>

#include "host/demo.h"
#include "host/host.h"

int main(int argc, char** argv) {
  bool realClock = false;
  bool demo = false;
  std::string stateDir;
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    if (arg == "demo") {
      demo = true;
    } else if (arg == "--clock" && i + 1 < argc) {
      std::string clock = argv[++i];
      if (clock != "real" && clock != "virtual") {
        std::cerr << "movaro-host: --clock takes virtual or real\n";
        return 2;
      }
      realClock = clock == "real";
    } else if (arg == "--state" && i + 1 < argc) {
      stateDir = argv[++i];
    } else {
      std::cerr
          << "usage: movaro-host [demo] [--clock virtual|real] [--state DIR]\n";
      return 2;
    }
  }
  if (demo) {
    return movaro::host::runDemo(std::cout);
  }
  std::unique_ptr<movaro::host::StateFolder> state;
  if (!stateDir.empty()) {
    std::string error;
    state = movaro::host::StateFolder::open(stateDir, error);
    if (!state) {
      std::cerr << "movaro-host: " << error << '\n';
      return 1;
    }
  }
  std::ios::sync_with_stdio(false);
  movaro::host::Host host(
      [](const movaro::host::Json& line) {
        std::cout << movaro::host::dumpLine(line) << '\n' << std::flush;
      },
      std::move(state));
  host.run(std::cin, realClock);
  return 0;
}
