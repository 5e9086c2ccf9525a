#pragma once

#include "ExternalController/Common/Operation.h"
#include "Interfaces/ZXComm.h"

#include <QByteArray>

#include <memory>

/// Returns a new package with one app envelope of this code and body.
///
/// \param json the body; pass a long one with std::move, so that it isn't copied into the envelope
std::shared_ptr<Comm::RequestPackage> MakeAppPackage(unsigned int cmdCode, QByteArray json);

/// Returns the request of a received app envelope. Its body is empty if the envelope's body is not a JSON object. Bytes
/// that are not an envelope give code 0 and an empty body.
SOperation ReadAppRequest(const Comm::ResponsePackage& packet, Source::Flag source);
