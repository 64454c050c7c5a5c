#include "LocatedProtocols.h"

#include "Protocol/AcpiTable.h"
#include "Protocol/OrvBufferValidation.h"
#include "ProtocolDatabase.h"
#include "UnprovidedService.h"

namespace {

/// An interface of which nothing is known but that it is one of functions.
struct UnusedProtocol {
  EFI_UNUSED_SERVICE Operations[4];
};

template <ServiceName Name>
constexpr UnusedProtocol Unused = {{UnprovidedService<Name>, UnprovidedService<Name>,
                                    UnprovidedService<Name>, UnprovidedService<Name>}};

constinit UnusedProtocol mAcpiTable = Unused<"the ACPI table protocol has no operations">;
constinit UnusedProtocol mBufferValidation = Unused<"buffer validation has no operations">;

} // namespace

VOID
LocatedProtocolsReset ()
{
  ProtocolPublish (ProtocolBoot, &gEfiAcpiTableProtocolGuid, &mAcpiTable);
  ProtocolPublish (ProtocolSmm, &gOrvBufferValidationProtocolGuid, &mBufferValidation);
}
