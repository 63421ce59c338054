#pragma once

// How the program ends; scripts depend on the numbers.
namespace Agent {

inline constexpr int kFine = 0;
inline constexpr int kTestFailed = 1;   // a test operation or a flag did not hold
inline constexpr int kBadInput = 2;     // bad usage or bad input
inline constexpr int kDisagrees = 3;    // the machine and the plain rule
inline constexpr int kWouldChange = 10; // plan: a start would change the outputs

} // namespace Agent
