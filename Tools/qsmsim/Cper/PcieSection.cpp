#include "CperLayout.h"
#include "FieldMeaning.h"
#include "Record/ErrorClass.h"

namespace {

/// Offset and size of a field of the body.
#define FIELD(Member) offsetof (EFI_PCIE_ERROR_DATA, Member), sizeof (EFI_PCIE_ERROR_DATA::Member)

using enum Notation;

constexpr Named<UINT64> PortTypes[] = {
    {"endpoint", 0},
    {"legacy endpoint", 1},
    {"root port", 4},
    {"upstream switch port", 5},
    {"downstream switch port", 6},
    {"PCIe to PCI bridge", 7},
    {"PCI to PCIe bridge", 8},
    {"root complex endpoint", 9},
    {"root complex event collector", 10},
};

constexpr Named<UINT64> StatusErrors[] = {
    {"master data parity error", 8}, {"signalled target abort", 11}, {"received target abort", 12},
    {"received master abort", 13},   {"signalled system error", 14}, {"detected parity error", 15},
};

constexpr Named<UINT64> SecondaryStatusErrors[] = {
    {"master data parity error", 8}, {"signalled target abort", 11}, {"received target abort", 12},
    {"received master abort", 13},   {"received system error", 14},  {"detected parity error", 15},
};

// PCI Code and ID Assignment 1.15, 1.
constexpr Named<UINT64> BaseClasses[] = {
    {"unclassified", 0x00}, {"storage", 0x01},         {"network", 0x02},
    {"display", 0x03},      {"multimedia", 0x04},      {"memory", 0x05},
    {"bridge", 0x06},       {"communication", 0x07},   {"system peripheral", 0x08},
    {"input", 0x09},        {"docking station", 0x0A}, {"processor", 0x0B},
    {"serial bus", 0x0C},   {"wireless", 0x0D},        {"intelligent I/O", 0x0E},
    {"satellite", 0x0F},    {"encryption", 0x10},      {"signal processing", 0x11},
    {"accelerator", 0x12},  {"instrumentation", 0x13}, {"co-processor", 0x40},
    {"unassigned", 0xFF},
};

/// Bits of a PCI status register that tell errors; the others are no news.
constexpr UINT64 PCI_STATUS_ERRORS = 0xF900;

/// A status register with its errors, if it has any.
template <const auto &Errors>
void
AppendPciStatus (std::string &Text, const char *Register, UINT64 Value)
{
  fmt::format_to (std::back_inserter (Text), "{} 0x{:04X}", Register, Value);
  if ((Value & PCI_STATUS_ERRORS) != 0) {
    Text += ": ";
    AppendBits<Errors> (Text, Value & PCI_STATUS_ERRORS);
  }
}

/// A class code from its base class down.
void
AppendClass (std::string &Text, UINT64 Base, UINT64 Sub, UINT64 Interface)
{
  AppendName<BaseClasses> (Text, Base);
  fmt::format_to (std::back_inserter (Text), " {:02X} {:02X} {:02X}", Base, Sub, Interface);
}

void
AppendVersion (std::string &Text, UINT64 Value)
{
  // Two numbers in BCD, the minor one first.
  fmt::format_to (std::back_inserter (Text), "{:X}.{:X}", Value >> 8 & 0xFF, Value & 0xFF);
}

void
AppendCommandStatus (std::string &Text, UINT64 Value)
{
  fmt::format_to (std::back_inserter (Text), "command 0x{:04X}, ", Value & 0xFFFF);
  AppendPciStatus<StatusErrors> (Text, "status", Value >> 16);
}

void
AppendBridgeStatusControl (std::string &Text, UINT64 Value)
{
  fmt::format_to (std::back_inserter (Text), "control 0x{:04X}, ", Value >> 16);
  AppendPciStatus<SecondaryStatusErrors> (Text, "secondary status", Value & 0xFFFF);
}

/// Records are found with the bytes of the class in either order.
void
AppendClassCode (std::string &Text, UINT64 Value)
{
  const UINT64 First = Value & 0xFF;
  const UINT64 Middle = Value >> 8 & 0xFF;
  const UINT64 Last = Value >> 16;
  AppendClass (Text, Last, Middle, First);
  if (First != Last) {
    Text += ", or ";
    AppendClass (Text, First, Middle, Last);
    Text += " if the base class is first";
  }
}

// UEFI 2.10, N.2.7.
constexpr CperField PcieFields[] = {
    {"bus", FIELD (DevBridge.PrimaryOrDeviceBus), 3, true, Hexadecimal, "PCI bus"},
    {"device", FIELD (DevBridge.Device), 3, true, Decimal, "PCI device", UpTo (31)},
    {"function", FIELD (DevBridge.Function), 3, true, Decimal, "PCI function", UpTo (7)},
    {"port-type", FIELD (PortType), 0, false, Decimal, "PCI Express port type",
     Means (AppendName<PortTypes>)},
    {"version", FIELD (Version), 1, false, Meaning, "PCI Express version", Means (AppendVersion)},
    {"command-status", FIELD (CommandStatus), 2, false, Hexadecimal,
     "PCI command and status registers", Means (AppendCommandStatus)},
    {"segment", FIELD (DevBridge.Segment), 3, false, Decimal, "PCI segment"},
    {"vendor-id", FIELD (DevBridge.VendorId), 3, false, Hexadecimal, "PCI vendor id"},
    {"device-id", FIELD (DevBridge.DeviceId), 3, false, Hexadecimal, "PCI device id"},
    {"class-code", FIELD (DevBridge.ClassCode), 3, false, Hexadecimal, "PCI class code",
     Means (AppendClassCode)},
    {"secondary-bus", FIELD (DevBridge.SecondaryBus), 3, false, Hexadecimal,
     "Secondary bus of a bridge"},
    {"slot", FIELD (DevBridge.Slot), 3, false, Decimal, "Number of the slot", BitsFrom (3, 13)},
    {"serial-number", FIELD (SerialNumber), 4, false, Hexadecimal, "Device serial number"},
    {"bridge-control-status", FIELD (BridgeControlStatus), 5, false, Hexadecimal,
     "Bridge control and secondary status registers", Means (AppendBridgeStatusControl)},
};

#undef FIELD

} // namespace

constinit const CperSection PcieSection = {"pcie", ErrorClassPcie, gEfiPcieErrorSectionGuid,
                                           sizeof (EFI_PCIE_ERROR_DATA), PcieFields};
