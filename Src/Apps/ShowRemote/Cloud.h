#pragma once

#include <QStringList>

int RunCloud(const QStringList& arguments);
