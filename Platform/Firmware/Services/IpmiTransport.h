/// The SMM IPMI transport: checks each command and passes it to the world's BMC.
#pragma once

#include "Protocol/SmmIpmiTransport.h"

extern "C" {

extern SmmIpmiTransportProtocol gIpmiTransport;

/// Installs the protocol. A call with another This, without request data or without room for a
/// response is a fault.
VOID IpmiTransportReset ();
}
