#pragma once

#include "Interfaces/ZXComm.h"

#include <QByteArray>

#include <memory>

/// A fresh package that carries one app envelope with this code and body.
std::shared_ptr<Comm::RequestPackage> MakeAppPackage(unsigned int cmdCode, const QByteArray& json);
