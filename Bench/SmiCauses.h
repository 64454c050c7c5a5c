/// Errors that the emulated machine raises, one of each class.
#pragma once

#include "EmulatedMachine.h"

struct SmiCause {
  const char *Name;
  void (*Raise) (EmulatedMachine &Machine);
};

inline constexpr SmiCause SmiCauses[] = {
    {"none", [] (EmulatedMachine &Machine) { Machine.Command ("poll 0"); }},
    {"processor",
     [] (EmulatedMachine &Machine) { Machine.Command ("bank 0 4 9000000000000135 0 0"); }},
    {"memory",
     [] (EmulatedMachine &Machine) { Machine.Command ("bank 0 4 9400000000000090 1000 0"); }},
    {"PCIe", [] (EmulatedMachine &Machine) { Machine.InjectPcieError ("nv1", "MALF_TLP", false); }},
};
