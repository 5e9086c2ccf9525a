#pragma once

#include <QStringList>

int RunDevice(const QStringList& arguments);
