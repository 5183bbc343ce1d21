// A short scripted session against the simulated Mac, printed readably.
#ifndef MOVARO_HOST_DEMO_H_
#define MOVARO_HOST_DEMO_H_

#include <ostream>

namespace movaro::host {

int runDemo(std::ostream& out);

}  // namespace movaro::host

#endif  // MOVARO_HOST_DEMO_H_
