/// A module for OpenIPMI's simulator, ipmi_sim, that takes the driver's events into the system
/// event log (SEL). Without it the simulator knows no such command.
///
/// It shares nothing with the driver or qsmbmc, so that it is a second opinion on what is sent.
/// scripts/machine-ipmi-sim builds it; docs/bmc.md has the record.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <span>

#include "EventJudge.h"

extern "C" {
#include <OpenIPMI/mcserv.h>

// The simulator exports this, but no header of its package declares it. Returns 0 or an errno.
int ipmi_mc_add_to_sel (lmc_data_t *Mc,
                        unsigned char RecordType,
                        unsigned char Record[13],
                        unsigned int *RecordId);

// What ipmi_lan(5) wants of a module (loadlib).
int ipmi_sim_module_print_version (sys_data_t *System, char *Options);
int ipmi_sim_module_init (sys_data_t *System, char *Options);
}

namespace {

constexpr Byte NetFunction = 0x32;
constexpr Byte Command = 0x2C;

/// The SEL record: OEM, without a time (IPMI 2.0, table 32-3). Its 13 bytes are class, severity and
/// as much of the id as there is room for, filled up with NULs.
constexpr Byte RecordType = 0xE0;
constexpr std::size_t RecordSize = 13, RecordIdAt = 2;

Byte
TakeEvent (lmc_data_t *Mc, Byte Lun, std::span<const Byte> Request)
{
  if (const Byte Code = JudgeEvent (Lun, Request); Code != Completed) {
    return Code;
  }
  const auto Id = Request.subspan (IdAt);
  std::array<Byte, RecordSize> Record = {Request[ClassAt], Request[SeverityAt]};
  std::ranges::copy (Id.first (std::min (Id.size (), RecordSize - RecordIdAt)),
                     Record.begin () + RecordIdAt);
  unsigned int RecordId = 0;
  return ipmi_mc_add_to_sel (Mc, RecordType, Record.data (), &RecordId) == 0 ? Completed
                                                                             : OutOfSpace;
}

void
Handle (lmc_data_t *Mc, msg_t *Message, Byte *Response, unsigned int *ResponseSize, void *)
{
  Response[0] = TakeEvent (Mc, Message->rs_lun, {Message->data, Message->len});
  *ResponseSize = 1;
}

} // namespace

int
ipmi_sim_module_print_version (sys_data_t *, char *)
{
  std::puts ("OemEvent: the events of VelmoraQsmErrorHandler");
  return 0;
}

int
ipmi_sim_module_init (sys_data_t *, char *)
{
  return ipmi_emu_register_cmd_handler (NetFunction, Command, Handle, nullptr);
}
