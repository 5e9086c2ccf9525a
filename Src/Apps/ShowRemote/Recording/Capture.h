#pragma once

#include "ShowRemote/Recording/Recording.h"

#include <QByteArray>
#include <QString>

/// Returns the messages of a recording as a capture file (pcapng,
/// https://www.ietf.org/archive/id/draft-ietf-opsawg-pcapng) for Wireshark. Each message is a packet of the link type
/// "exported PDU" for the dissector of MakeDissector.
QByteArray MakeCapture(const SRecording& recording);
/// Returns a dissector in Lua, with the message names of the contract.
QString MakeDissector();
