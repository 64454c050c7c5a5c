/// What the earlier boot phases and the closed silicon drivers leave to SMM: HOBs and published
/// records, made of plain rows.
///
/// Bytes that the rows do not give hold garbage, as other fields would. The pointers below lead to
/// where the records lie; a test may change them while no driver runs, and take HOBs away with
/// HobListRemove.
#pragma once

#include "Record/IioSiPolicy.h"
#include "Record/StaticPointerTable.h"
#include "Record/SystemInfoRecord.h"
#include "Record/UpiHostData.h"
#include "TopologyRows.h"

/// Bytes in the HOBs of the UPI host data behind what is read of them.
inline constexpr UINTN UpiHobSurplus = 64;

extern "C" {

/// The rows of this boot.
extern TopologyRows gTopology;

/// The interface of gSystemInfoProtocolGuid.
extern SystemInfoRecord gSystemInfo;

/// Leaves the HOBs and publishes the records of a standard topology with as many sockets as the
/// world's processors have packages. Two static pointers lead to host structures, of which one may
/// be copied.
VOID HandOffRecordsReset ();

/// Writes the rows in gTopology to the records again. A number of ports that is too large goes to
/// the policy as it is, without ports. Rows that the policy's form cannot hold together are a
/// fault.
VOID HandOffRecordsFill ();

/// The data of the HOBs.
IioSiPolicy *HandOffIioPolicy ();
StaticPointerHobData *HandOffStaticPointers ();
}
