/* Division of integers for processors that have no instruction for it: the functions that the compiler calls, under the
 * names that it calls them by.
 *
 * Bit by bit, from the highest place at which the divisor still fits. No loop depends on anything but the operands, and
 * none is endless: what is divided by 0 gives the largest quotient and leaves itself as the remainder. Signed numbers are
 * divided by their magnitudes; the smallest number by -1 gives itself, as the bits have it. */
#include <stdint.h>

uint32_t __udivsi3(uint32_t dividend, uint32_t divisor);
uint32_t __umodsi3(uint32_t dividend, uint32_t divisor);
int32_t __divsi3(int32_t dividend, int32_t divisor);
int32_t __modsi3(int32_t dividend, int32_t divisor);
uint64_t __udivdi3(uint64_t dividend, uint64_t divisor);
uint64_t __umoddi3(uint64_t dividend, uint64_t divisor);
int64_t __divdi3(int64_t dividend, int64_t divisor);
int64_t __moddi3(int64_t dividend, int64_t divisor);

typedef struct Division {
  uint64_t quotient;
  uint64_t remainder;
} Division;

static Division Divide(uint64_t dividend, uint64_t divisor) {
  Division result = {0, dividend};
  uint64_t place = 1;
  if (divisor == 0) {
    result.quotient = UINT64_MAX;
    return result;
  }
  while (divisor < dividend && (divisor >> 63) == 0) {
    divisor <<= 1;
    place <<= 1;
  }
  for (; place != 0; place >>= 1, divisor >>= 1) {
    if (result.remainder >= divisor) {
      result.remainder -= divisor;
      result.quotient |= place;
    }
  }
  return result;
}

/* Unsigned, so that the smallest number has a magnitude as well. */
static uint64_t Magnitude(int64_t number) { return number < 0 ? 0U - (uint64_t)number : (uint64_t)number; }

uint64_t __udivdi3(uint64_t dividend, uint64_t divisor) { return Divide(dividend, divisor).quotient; }
uint64_t __umoddi3(uint64_t dividend, uint64_t divisor) { return Divide(dividend, divisor).remainder; }

int64_t __divdi3(int64_t dividend, int64_t divisor) {
  const uint64_t quotient = Divide(Magnitude(dividend), Magnitude(divisor)).quotient;
  return (int64_t)((dividend < 0) != (divisor < 0) ? 0U - quotient : quotient);
}

/* The remainder has the dividend's sign. */
int64_t __moddi3(int64_t dividend, int64_t divisor) {
  const uint64_t remainder = Divide(Magnitude(dividend), Magnitude(divisor)).remainder;
  return (int64_t)(dividend < 0 ? 0U - remainder : remainder);
}

/* The lower halves of what the longer numbers give. */
uint32_t __udivsi3(uint32_t dividend, uint32_t divisor) { return (uint32_t)__udivdi3(dividend, divisor); }
uint32_t __umodsi3(uint32_t dividend, uint32_t divisor) { return (uint32_t)__umoddi3(dividend, divisor); }
int32_t __divsi3(int32_t dividend, int32_t divisor) { return (int32_t)__divdi3(dividend, divisor); }
int32_t __modsi3(int32_t dividend, int32_t divisor) { return (int32_t)__moddi3(dividend, divisor); }
