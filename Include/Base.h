/// Base types, calling convention, status codes and layout checks of every world.
///
/// This is the only header of the driver that includes standard headers. The compiler for the
/// production image brings no C++ library, so traits come from built-ins.
#pragma once

#include <stddef.h>
#include <stdint.h>

using UINT8 = unsigned char;
using UINT16 = unsigned short;
using UINT32 = unsigned int;
using UINT64 = unsigned long long;
using INT8 = signed char;
using INT16 = short;
using INT32 = int;
using INT64 = long long;
using UINTN = UINT64;
using INTN = INT64;
using BOOLEAN = UINT8;
using CHAR8 = char;
using CHAR16 = char16_t;
using VOID = void;

inline constexpr BOOLEAN FALSE = 0;
inline constexpr BOOLEAN TRUE = 1;

static_assert (sizeof (UINT16) == 2 && sizeof (UINT32) == 4 && sizeof (UINT64) == 8);
static_assert (sizeof (UINTN) == sizeof (VOID *), "a word holds a pointer");
static_assert (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "all records are little-endian");

/// Calling convention of every function that the firmware calls or provides (UEFI 2.10, 2.3.4).
#define EFIAPI __attribute__ ((ms_abi))

/// Argument list of an EFIAPI function: 8-byte slots, unlike the host's own va_list.
using VA_LIST = __builtin_ms_va_list;
#define VA_START(Marker, Parameter) __builtin_ms_va_start (Marker, Parameter)
#define VA_ARG(Marker, Type)        __builtin_va_arg(Marker, Type)
#define VA_END(Marker)              __builtin_ms_va_end (Marker)
#define VA_COPY(To, From)           __builtin_ms_va_copy (To, From)

/// Zero and the positive warning codes are success; a set top bit is an error (UEFI 2.10,
/// appendix D).
using EFI_STATUS = UINTN;
using RETURN_STATUS = UINTN;

constexpr EFI_STATUS
EfiErrorCode (UINTN Number)
{
  return 0x8000000000000000 | Number;
}

inline constexpr EFI_STATUS EFI_SUCCESS = 0;
inline constexpr EFI_STATUS EFI_LOAD_ERROR = EfiErrorCode (1);
inline constexpr EFI_STATUS EFI_INVALID_PARAMETER = EfiErrorCode (2);
inline constexpr EFI_STATUS EFI_UNSUPPORTED = EfiErrorCode (3);
inline constexpr EFI_STATUS EFI_BAD_BUFFER_SIZE = EfiErrorCode (4);
inline constexpr EFI_STATUS EFI_BUFFER_TOO_SMALL = EfiErrorCode (5);
inline constexpr EFI_STATUS EFI_NOT_READY = EfiErrorCode (6);
inline constexpr EFI_STATUS EFI_DEVICE_ERROR = EfiErrorCode (7);
inline constexpr EFI_STATUS EFI_WRITE_PROTECTED = EfiErrorCode (8);
inline constexpr EFI_STATUS EFI_OUT_OF_RESOURCES = EfiErrorCode (9);
inline constexpr EFI_STATUS EFI_NOT_FOUND = EfiErrorCode (14);
inline constexpr EFI_STATUS EFI_TIMEOUT = EfiErrorCode (18);
inline constexpr EFI_STATUS EFI_NOT_STARTED = EfiErrorCode (19);
inline constexpr EFI_STATUS EFI_ALREADY_STARTED = EfiErrorCode (20);
inline constexpr EFI_STATUS EFI_INCOMPATIBLE_VERSION = EfiErrorCode (25);
inline constexpr RETURN_STATUS RETURN_SUCCESS = EFI_SUCCESS;
inline constexpr RETURN_STATUS RETURN_DEVICE_ERROR = EFI_DEVICE_ERROR;

/// TRUE for an error; FALSE for zero and for a warning.
constexpr bool
EFI_ERROR (EFI_STATUS Status)
{
  return static_cast<INTN> (Status) < 0;
}

struct EFI_GUID {
  UINT32 Data1;
  UINT16 Data2;
  UINT16 Data3;
  UINT8 Data4[8];
};

using EFI_HANDLE = VOID *;
using EFI_PHYSICAL_ADDRESS = UINT64;

/// Both numbers of a layout check are template arguments, so that the compiler prints them when
/// they differ.
template <UINTN Actual, UINTN Expected> struct LayoutCheck {
  static_assert (Actual == Expected, "a record's layout differs from its contract");
  static constexpr bool Holds = true;
};

/// Asserts the byte offset of one field of a record.
#define LAYOUT_OFFSET(Type, Field, Expected) \
  static_assert (LayoutCheck<offsetof (Type, Field), Expected>::Holds)

/// Asserts the size in bytes of a record, and that its bytes are all there is to it.
#define LAYOUT_SIZE(Type, Expected)                            \
  static_assert (LayoutCheck<sizeof (Type), Expected>::Holds); \
  static_assert (__is_trivially_copyable(Type) && __is_standard_layout(Type))

LAYOUT_SIZE (EFI_GUID, 16);

/// Number of elements of an array.
template <typename Element, UINTN Count>
consteval UINTN
ArrayCount (const Element (&)[Count])
{
  return Count;
}
