#pragma once

#include <QStringList>

int RunApp(const QStringList& arguments);
