#pragma once

#include <QStringList>

int RunFP(const QStringList& arguments);
