#pragma once

#include <QStringList>

int RunCentral(const QStringList& arguments);
