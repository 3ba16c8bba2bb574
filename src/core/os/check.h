// KES_DCHECK states what the code relies on; it never handles what a caller or a file can cause.
#pragma once

#ifdef KES_ENABLE_DCHECK
#define KES_DCHECK(condition)           \
  do {                                  \
    if (!(condition)) __builtin_trap(); \
  } while (false)
#else
#define KES_DCHECK(condition) static_cast<void>(0)
#endif
