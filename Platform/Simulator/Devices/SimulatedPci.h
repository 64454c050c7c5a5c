/// PCI as the chipset maps it: the configuration space of each segment, and CXL register blocks.
#pragma once

#include <array>
#include <map>
#include <set>

#include "DeviceBus.h"
#include "PciPlace.h"

struct TopologyRows;

/// Segments of the simulated machine, and where it maps their configuration space: one behind the
/// other.
inline constexpr UINTN SimulatedPciSegmentCount = 4;
inline constexpr UINT64 SimulatedPciBase = 0x80000000;

class SimulatedPci : public BusDevice {
public:
  explicit SimulatedPci (DeviceBus &Bus);

  /// Takes every function and register block away.
  void Clear ();

  /// The bus face. Reads give all ones, and writes are lost, where nothing answers. Throws
  /// MachineFault for an access that is not aligned to its width.
  UINT32 MmioRead (UINTN Address, UINTN Width) override;
  void MmioWrite (UINTN Address, UINTN Width, UINT32 Value) override;

  /// Registers of a function or of a block, as mapped.
  using Registers = std::array<UINT8, 4096>;

  /// Adds a function, or gives it new registers: a header of this type, and noise in all else.
  Registers &AddFunction (const PciPlace &Place, UINT8 HeaderType);

  /// Adds a function with these capabilities, whose status registers ones clear: PCI Express, 2.0,
  /// and Advanced Error Reporting without any error. Each lies behind another one in its list. A
  /// root port is a bridge; whatever is not a register of errors is noise.
  static constexpr UINT16 ExpressOffset = 0x40;
  static constexpr UINT16 AerOffset = 0x140;
  Registers &AddExpressFunction (const PciPlace &Place, UINT8 PortType);

  /// The registers of a function, or null.
  Registers *FindFunction (const PciPlace &Place);
  void RemoveFunction (const PciPlace &Place);

  /// Adds the register blocks (RCRB) of a CXL link: the downstream port's at Base and, behind it,
  /// the upstream port's, which may not answer.
  void AddCxlLink (UINTN Base, bool UpstreamAnswers);

  /// Adds what the rows have. Most ports are bridges, each to buses of its own; of others the
  /// function is missing, or of another type. Every other CXL link does not answer.
  void Populate (const TopologyRows &Topology);

private:
  DeviceBus &Bus;
  std::map<UINTN, Registers> Pages; ///< Those that answer, by the address at which they are mapped.
  std::set<UINTN> ClearedByOnes;    ///< Addresses of registers, as wide as they are written.

  UINT8 *FindRegister (UINTN Address, UINTN Width);
};
