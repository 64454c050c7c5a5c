#include "DxePcdLib.h"

#include "ProtocolLib.h"
#include "SmmDebugServiceLib.h"

namespace {

constexpr CHAR8 SourceFile[] = "MdePkg/Library/DxePcdLib/DxePcdLib";
constexpr SourceSite ProtocolLocated = {SourceFile, 72};
constexpr AssertionSite InterfaceNotNull = {SourceFile, 73, "mPcd != ((void *) 0)"};

constinit PcdProtocol *mPcd = nullptr;

} // namespace

PcdProtocol *
GetPcdProtocol ()
{
  if (mPcd == nullptr) {
    VOID *Interface = nullptr;
    const EFI_STATUS Status = SearchBootProtocol (&gPcdProtocolGuid, &Interface);
    mPcd = static_cast<PcdProtocol *> (Interface);
    ASSERT_EFI_ERROR (Status, ProtocolLocated);
    ASSERT (mPcd != nullptr, InterfaceNotNull);
  }
  return mPcd;
}
