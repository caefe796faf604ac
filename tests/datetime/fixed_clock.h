// The platform's clock, replaced: within a test it is always the same year, and every reading is counted.
#pragma once

class FixedClock {
 public:
  explicit FixedClock(int year);
  ~FixedClock();
  FixedClock(const FixedClock&) = delete;
  FixedClock& operator=(const FixedClock&) = delete;

  // Since the clock was fixed.
  int Reads() const;
};
