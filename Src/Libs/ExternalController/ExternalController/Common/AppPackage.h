#pragma once

#include "ExternalController/Common/Operation.h"
#include "Interfaces/ZXComm.h"

#include <QByteArray>

#include <memory>

/// A fresh package that carries one app envelope with this code and body. A long body that is moved in is gone
/// before its last copy is made.
std::shared_ptr<Comm::RequestPackage> MakeAppPackage(unsigned int cmdCode, QByteArray json);

/// The request in a received app envelope: code 0 and an empty body for bytes that are none, an empty body for one that
/// is no JSON object.
SOperation ReadAppRequest(const Comm::ResponsePackage& packet, Source::Flag source);
