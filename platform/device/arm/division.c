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

typedef struct Division32 {
  uint32_t quotient;
  uint32_t remainder;
} Division32;

typedef struct Division64 {
  uint64_t quotient;
  uint64_t remainder;
} Division64;

static Division32 Divide32(uint32_t dividend, uint32_t divisor) {
  Division32 result = {0, dividend};
  uint32_t place = 1;
  if (divisor == 0) {
    result.quotient = UINT32_MAX;
    return result;
  }
  while (divisor < dividend && (divisor >> 31) == 0) {
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

static Division64 Divide64(uint64_t dividend, uint64_t divisor) {
  Division64 result = {0, dividend};
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
static uint32_t Magnitude32(int32_t number) { return number < 0 ? 0U - (uint32_t)number : (uint32_t)number; }
static uint64_t Magnitude64(int64_t number) { return number < 0 ? 0U - (uint64_t)number : (uint64_t)number; }

uint32_t __udivsi3(uint32_t dividend, uint32_t divisor) { return Divide32(dividend, divisor).quotient; }
uint32_t __umodsi3(uint32_t dividend, uint32_t divisor) { return Divide32(dividend, divisor).remainder; }
uint64_t __udivdi3(uint64_t dividend, uint64_t divisor) { return Divide64(dividend, divisor).quotient; }
uint64_t __umoddi3(uint64_t dividend, uint64_t divisor) { return Divide64(dividend, divisor).remainder; }

int32_t __divsi3(int32_t dividend, int32_t divisor) {
  const uint32_t quotient = Divide32(Magnitude32(dividend), Magnitude32(divisor)).quotient;
  return (int32_t)((dividend < 0) != (divisor < 0) ? 0U - quotient : quotient);
}

/* The remainder has the dividend's sign. */
int32_t __modsi3(int32_t dividend, int32_t divisor) {
  const uint32_t remainder = Divide32(Magnitude32(dividend), Magnitude32(divisor)).remainder;
  return (int32_t)(dividend < 0 ? 0U - remainder : remainder);
}

int64_t __divdi3(int64_t dividend, int64_t divisor) {
  const uint64_t quotient = Divide64(Magnitude64(dividend), Magnitude64(divisor)).quotient;
  return (int64_t)((dividend < 0) != (divisor < 0) ? 0U - quotient : quotient);
}

int64_t __moddi3(int64_t dividend, int64_t divisor) {
  const uint64_t remainder = Divide64(Magnitude64(dividend), Magnitude64(divisor)).remainder;
  return (int64_t)(dividend < 0 ? 0U - remainder : remainder);
}
