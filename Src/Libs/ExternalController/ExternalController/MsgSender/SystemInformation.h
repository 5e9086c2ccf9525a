#pragma once

#include "ExternalController/MsgSender/Reply.h"
#include "Interfaces/IpHelper.h"

/// Returns the data of the machine and the state of the show for the cloud.
CReply SystemInformation();
/// Returns the data of the first adapter in a linked list that has an address, or an empty object if none has one.
CReply Network(const IP_ADAPTER_INFO* first);
