#pragma once

#include <QStringList>

// The commands of showremote. Each takes its own name and the arguments behind it, returns the program's exit code, and
// throws CWrongUsage or CFailure.

int RunApp(const QStringList& arguments);
int RunCentral(const QStringList& arguments);
int RunCloud(const QStringList& arguments);
int RunDevice(const QStringList& arguments);
int RunDiscover(const QStringList& arguments);
int RunFP(const QStringList& arguments);
int RunUpload(const QStringList& arguments);
