/// Client of the SMM debug service: the messages and assertions of the whole driver.
///
/// A client formats nothing: format and arguments go to the service as they are. Without a service
/// messages vanish and assertions pass, so the code behind an assertion is written for the case
/// that it returns.
#pragma once

#include "Base.h"
#include "Pcd.h"

/// Message levels in use.
inline constexpr UINTN DEBUG_INFO = 0x40;
inline constexpr UINTN DEBUG_VERBOSE = 0x400000;
inline constexpr UINTN DEBUG_ERROR = 0x80000000;

/// Reported text of an assertion on a status, and of an assertion that always fails.
inline constexpr CHAR8 StatusAssertionText[] = "!(((INTN)(RETURN_STATUS)(Status)) < 0)";
inline constexpr CHAR8 UnreachableAssertionText[] = "((BOOLEAN)(0==1))";

/// Where an assertion on a status reports from; all statuses have the same text. The values are
/// fixed output, so they do not follow the source.
struct SourceSite {
  const CHAR8 *FileName;
  UINTN LineNumber;
};

/// The same for an assertion of an expression, with its text.
struct AssertionSite {
  const CHAR8 *FileName;
  UINTN LineNumber;
  const CHAR8 *Description;
};

extern "C" {

/// The driver's base name, ASCII, which goes to the service with each message.
extern const CHAR8 *const gEfiCallerBaseName;

/// Hands a message to the debug service, if there is one and ErrorLevel passes
/// PcdDebugPrintErrorLevel. Format is ASCII with a NUL; both filters in front of this call belong
/// to the site (DEBUG).
VOID EFIAPI DebugPrint (UINTN ErrorLevel, const CHAR8 *Format, ...);

/// Reports a failed assertion to the debug service and stops the processor as PcdDebugPropertyMask
/// says. Returns to its caller only if there is no service, if the mask asks for no dead loop, or
/// if a debugger ends the dead loop.
VOID EFIAPI DebugAssert (const CHAR8 *FileName, UINTN LineNumber, const CHAR8 *Description);

/// Whether assertions are made at all.
constexpr BOOLEAN
DebugAssertEnabled ()
{
  return (PcdDebugPropertyMask & DEBUG_PROPERTY_ASSERT_ENABLED) != 0;
}

/// Whether messages are made at all.
constexpr BOOLEAN
DebugPrintEnabled ()
{
  return (PcdDebugPropertyMask & DEBUG_PROPERTY_PRINT_ENABLED) != 0;
}

/// Whether code that only serves debugging runs.
constexpr BOOLEAN
DebugCodeEnabled ()
{
  return (PcdDebugPropertyMask & DEBUG_PROPERTY_CODE_ENABLED) != 0;
}

/// Whether a site may make a message of this level.
constexpr BOOLEAN
DebugPrintLevelEnabled (UINTN ErrorLevel)
{
  return (ErrorLevel & PcdFixedDebugPrintErrorLevel) != 0;
}
}

// The forms below may evaluate what they are given more than once, or not at all: pass no side
// effects.

/// A message. The arguments are not evaluated when a gate is closed.
#define DEBUG(Level, Format, ...)                                 \
  do {                                                            \
    if (DebugPrintEnabled () && DebugPrintLevelEnabled (Level)) { \
      DebugPrint (Level, Format __VA_OPT__ (, ) __VA_ARGS__);     \
    }                                                             \
  } while (false)

/// An assertion of an expression at an AssertionSite.
#define ASSERT(Expression, Site)                                            \
  do {                                                                      \
    if (DebugAssertEnabled () && !(Expression)) {                           \
      DebugAssert ((Site).FileName, (Site).LineNumber, (Site).Description); \
    }                                                                       \
  } while (false)

/// An assertion on a status at a SourceSite: a message with the status, then the assertion.
#define ASSERT_STATUS(Status, Message, Site)                                 \
  do {                                                                       \
    if (DebugAssertEnabled () && EFI_ERROR (Status)) {                       \
      DEBUG (DEBUG_ERROR, Message, Status);                                  \
      DebugAssert ((Site).FileName, (Site).LineNumber, StatusAssertionText); \
    }                                                                        \
  } while (false)

/// For every status but that of a constructor without arguments.
#define ASSERT_EFI_ERROR(Status, Site) \
  ASSERT_STATUS (Status, "\nASSERT_EFI_ERROR (Status = %r)\n", Site)

/// For the status of a constructor without arguments.
#define ASSERT_RETURN_ERROR(Status, Site) \
  ASSERT_STATUS (Status, "\nASSERT_RETURN_ERROR (Status = %r)\n", Site)
