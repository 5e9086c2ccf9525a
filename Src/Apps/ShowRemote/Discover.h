#pragma once

#include <QStringList>

int RunDiscover(const QStringList& arguments);
