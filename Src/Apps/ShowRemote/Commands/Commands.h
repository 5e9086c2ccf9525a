#pragma once

#include <QStringList>

// The commands of showremote. Each function takes the command's name and the arguments after it and returns the
// program's exit code. They throw CWrongUsage if the arguments are not valid and CFailure if the command fails.

int RunApp(const QStringList& arguments);
int RunCentral(const QStringList& arguments);
int RunCloud(const QStringList& arguments);
int RunDevice(const QStringList& arguments);
int RunDiscover(const QStringList& arguments);
int RunDissector(const QStringList& arguments);
int RunFP(const QStringList& arguments);
int RunRecording(const QStringList& arguments);
int RunReplay(const QStringList& arguments);
int RunUpload(const QStringList& arguments);
