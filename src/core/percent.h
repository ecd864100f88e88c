// The system's percentages as float factors: the percent times the float constant 0.01f,
// multiplied in double, so that 33 gives what the original gave and not 0.33 itself.
#ifndef KXSOUND_CORE_PERCENT_H
#define KXSOUND_CORE_PERCENT_H

constexpr float POINT_ZERO_ONE = 0.01f;

inline double PercentScale(double percent) { return percent * static_cast<double>(POINT_ZERO_ONE); }

#endif
