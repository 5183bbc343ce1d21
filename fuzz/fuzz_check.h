// What a fuzz target asserts: a broken rule stops the run where it broke.
#ifndef MOVARO_FUZZ_FUZZ_CHECK_H_
#define MOVARO_FUZZ_FUZZ_CHECK_H_

inline void check(bool condition) {
  if (!condition) {
    __builtin_trap();
  }
}

#endif  // MOVARO_FUZZ_FUZZ_CHECK_H_
