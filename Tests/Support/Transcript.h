/// What passes between the drivers of a boot and their platform, as lines that can be read.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "SimulatedPlatform.h"

/// Records every call of a service with its arguments and result, every access to the machine,
/// every message and assertion, in their order, from its making to its end. One at a time; drivers
/// come and run on one thread. The firmware's tables lead to the recorder meanwhile.
///
/// Addresses are named: pool blocks by their size, the driver's functions by their symbols, all
/// else that belongs to the platform as "platform". Equal neighbours are folded, and bytes that go
/// to the serial port are put together, with a bar where the line status was found idle.
class Transcript : public HostMachine {
public:
  explicit Transcript (SimulatedPlatform &Platform);
  ~Transcript () override;
  Transcript (const Transcript &) = delete;
  Transcript &operator= (const Transcript &) = delete;

  /// Adds a line of the test's own.
  void Note (std::string Line);

  /// Adds how a call into the drivers ended.
  void Note (const CallResult &Result);

  bool Silent = false; ///< Nothing is recorded meanwhile.

  /// Names a text that is another one in every run.
  std::map<std::string, std::string> Names;

  /// The lines since the last time.
  std::vector<std::string> Take ();

  /// The name of what lies at an address.
  [[nodiscard]] std::string NameOf (const void *Address) const;

  /// Whether an address has been given out as a block, or is no longer one.
  void NoteBlock (const void *Address, UINTN Size);
  void ForgetBlock (const void *Address);

  /// Puts Value into a table until the recorder ends.
  template <typename Type>
  void
  Replace (Type &Entry, Type Value)
  {
    Undo.push_back ([&Entry, Before = Entry] { Entry = Before; });
    Entry = Value;
  }

  CpuidRegisters Cpuid (UINT32 Leaf, UINT32 SubLeaf) override;
  UINT64 ReadMsr (UINT32 Index) override;
  UINT64 ReadTsc () override;
  void Pause () override;
  UINT8 IoRead8 (UINT16 Port) override;
  void IoWrite8 (UINT16 Port, UINT8 Value) override;
  UINT32 MmioRead (UINTN Address, UINTN Width) override;
  void MmioWrite (UINTN Address, UINTN Width, UINT32 Value) override;

private:
  SimulatedPlatform &Platform;
  std::vector<std::string> Lines;
  std::vector<std::function<void ()>> Undo;

  struct NamedBlock {
    UINTN Size;
    std::string Name;
  };
  std::map<const UINT8 *, NamedBlock> Blocks;

  void NoteSerial (UINT8 Byte);
};

/// The lines that differ: "-" ahead of one that only Expected has, "+" of one that only Actual has,
/// and Context lines around each place. Of many lines that have gone in a row two are shown.
std::vector<std::string> Difference (const std::vector<std::string> &Expected,
                                     const std::vector<std::string> &Actual,
                                     std::size_t Context);

/// Compares with the file of that name in Tests/Transcripts, and fails with the difference. With
/// QSM_WRITE_TRANSCRIPTS in the environment writes the file instead.
void ExpectTranscript (const std::string &Name, const std::vector<std::string> &Lines);
