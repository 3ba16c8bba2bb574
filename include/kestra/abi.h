/* abi.h: how every exported name is declared.
 *
 * KES_API marks an exported function or table. KES_NOEXCEPT tells a C++ compiler that no exception
 * leaves the function; it is left out where a callback of the caller may throw or jump through it.
 */
#ifndef KESTRA_ABI_H
#define KESTRA_ABI_H

#if defined(__GNUC__)
#define KES_API __attribute__((visibility("default")))
#else
#define KES_API
#endif

#ifdef __cplusplus
#define KES_NOEXCEPT noexcept
#else
#define KES_NOEXCEPT
#endif

#endif
