#include "DxeUsraLib.h"

#include <vector>

#include "RasTestBench.h"
#include "SystemInfoLib.h"

namespace {

const std::string CommonFile = "CpRcPkg/Library/DxeUsraLib/UsraLibCommon:";
const std::string InterfaceFile = "CpRcPkg/Library/DxeUsraLib/SmmUsraIface:";

/// What the USRA protocol was asked.
std::vector<UsraPcieAddress> mAsked;

class MmPciAddress : public RasTestBench {
public:
  MmPciAddress ()
  {
    mAsked.clear ();
    EXPECT_EQ (SystemInfoLibConstructor (nullptr, nullptr), EFI_SUCCESS);
    Publish (&Interface);
  }

  /// Puts an interface in the place of the firmware's.
  static void
  Publish (UsraProtocol *Usra)
  {
    ProtocolRemove (ProtocolSmm, &gUsraProtocolGuid);
    ProtocolPublish (ProtocolSmm, &gUsraProtocolGuid, Usra);
  }

  UsraProtocol Interface = {.Reserved = {},
                            .UsraGetAddress = [] (const UsraPcieAddress *Address) EFIAPI -> VOID * {
                              mAsked.push_back (*Address);
                              return &mAsked;
                            }};
};

TEST_F (MmPciAddress, AsksForTheRegisterInTheSocketsSegment)
{
  SystemInfoRecord Record = {};
  reinterpret_cast<UINT8 *> (&Record)[302] = 9;
  reinterpret_cast<UINT8 *> (&Record)[305] = 0xFE;
  mSystemInfoRecord = &Record;
  const UINTN Searches = gFaultPlan.Calls[ServiceSmmLocateProtocol];
  const struct {
    UINT32 Socket;
    UINT8 Bus, Device, Function;
    UINT32 Offset;
    UINT32 Location, Segment;
  } Rows[] = {
      {0, 0x80, 1, 2, 0x19, 0x0800A019, 9},
      {3, 0x80, 1, 2, 0x19, 0x0800A019, 0xFE},
      {3, 0xFF, 0x1F, 7, 0xFFF, 0x0FFFFFFF, 0xFE},
      {0, 0, 0x25, 9, 0x12345010, 0x00029010, 9}, // device 5, function 1
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Location);
    EXPECT_EQ (MmPciAddressExt (Row.Socket, Row.Bus, Row.Device, Row.Function, Row.Offset),
               &mAsked);
    const UsraPcieAddress Asked = mAsked.back ();
    EXPECT_EQ (+Asked.Location, Row.Location);
    EXPECT_EQ (+Asked.Segment, Row.Segment);
    EXPECT_EQ (+Asked.Reserved[0] | +Asked.Reserved[1], 0U);
  }
  EXPECT_EQ (mAsked.size (), ArrayCount (Rows));
  EXPECT_EQ (gFaultPlan.Calls[ServiceSmmLocateProtocol], Searches + 1);
}

TEST_F (MmPciAddress, AsksNobodyForASocketOutOfRange)
{
  SetLevelMask (0x04000000);
  mSystemInfoRecord = nullptr;
  const UINTN Searches = gFaultPlan.Calls[ServiceSmmLocateProtocol];
  EXPECT_EQ (MmPciAddressExt (4, 1, 2, 3, 0), nullptr);
  EXPECT_EQ (MmPciAddressExt (0xFFFFFFFF, 1, 2, 3, 0), nullptr);
  EXPECT_EQ (TakeSent (), "MmPciAddressExt - Socket 4 is invalid !!!"
                          "MmPciAddressExt - Socket FFFFFFFF is invalid !!!");
  EXPECT_EQ (gFaultPlan.Calls[ServiceSmmLocateProtocol], Searches);
}

TEST_F (MmPciAddress, IsNullAndReportedWithoutAUsraThatIsLookedForAgain)
{
  const auto Ask = [] { EXPECT_EQ (MmPciAddressExt (1, 1, 2, 3, 0), nullptr); };
  for (const bool Stops : {false, true}) {
    ProtocolRemove (ProtocolSmm, &gUsraProtocolGuid);
    EXPECT_EQ (StoppedAt (Ask),
               Stops ? InterfaceFile + "59 !(((INTN)(RETURN_STATUS)(Status)) < 0)" : "");
    Publish (nullptr);
    EXPECT_EQ (StoppedAt (Ask), Stops ? InterfaceFile + "63 mUsra != ((void *) 0)" : "");
    Publish (&Interface);
    FaultPlanFail (ServiceSmmLocateProtocol, 1, 5); // a warning
    EXPECT_EQ (StoppedAt (Ask), Stops ? CommonFile + "141 ((BOOLEAN)(0==1))" : "");
    if (!Stops) {
      VOID *Register = this;
      FaultPlanFail (ServiceSmmLocateProtocol, 1, EFI_NOT_FOUND);
      EXPECT_EQ (UsraAddressFirstCall (nullptr, &Register), EFI_DEVICE_ERROR);
      EXPECT_EQ (Register, nullptr);
      InstallDebugService ();
    }
  }
  EXPECT_TRUE (mAsked.empty ());
  EXPECT_EQ (MmPciAddressExt (1, 1, 2, 3, 0), &mAsked);
  mSystemInfoRecord = nullptr; // The segment is unknown.
  Ask ();
}

} // namespace
