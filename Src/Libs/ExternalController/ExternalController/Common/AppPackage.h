#pragma once

#include "Interfaces/ZXComm.h"

#include <QByteArray>

#include <memory>

/// A fresh package that carries one app envelope with this code and body. A long body that is moved in is gone
/// before its last copy is made.
std::shared_ptr<Comm::RequestPackage> MakeAppPackage(unsigned int cmdCode, QByteArray json);
