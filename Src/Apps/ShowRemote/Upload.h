#pragma once

#include <QStringList>

int RunUpload(const QStringList& arguments);
