#pragma once

#include "ExternalController/MsgSender/Reply.h"
#include "Interfaces/IpHelper.h"

/// The machine and the state of the show, as the cloud shows them.
CReply SystemInformation();
/// The first of a chain of adapters that is up; empty when none is.
CReply Network(const IP_ADAPTER_INFO* first);
