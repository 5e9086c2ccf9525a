#pragma once

#include "ExternalController/MsgSender/Reply.h"

/// The machine and the state of the show, as the cloud shows them.
CReply SystemInformation();
