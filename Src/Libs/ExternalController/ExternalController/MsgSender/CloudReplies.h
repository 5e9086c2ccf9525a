#pragma once

#include "ExternalController/MsgSender/Reply.h"
#include "Interfaces/IpHelper.h"
#include "Interfaces/LogModel.h"

#include <QString>

#include <functional>
#include <string>

// The contents of replies to the cloud.

/// Returns the data of the machine and the state of the show for the cloud.
CReply SystemInformation();
/// Returns the data of the first adapter in a linked list that has an address, or an empty object if none has one.
CReply Network(const IP_ADAPTER_INFO* first);

/// Exports the open project: first a picture of every resource and scene, then the data of the models. Sends each
/// message as soon as it is complete. Does nothing if no project is open or the project has no path.
///
/// \param sendPicture, sendProject called on the calling thread with the JSON text of one message
void ExportProject(const std::function<void(const std::string&)>& sendPicture,
                   const std::function<void(const std::string&)>& sendProject);

// These functions return the show log as comma-separated lines in UTF-8, with a header line. Fields are written without
// quotes or escapes, even if they contain a comma or a line break.

std::string PlayLogTable(const QList<SPlayRecord>& records);
/// Each line has the source of the operation between function and description. The header has no column for it: the
/// cloud expects the table in this form.
std::string OperationLogTable(const QList<SOPRecord>& records);

/// Returns the path with backslashes instead of slashes: the form that the cloud service gets on every platform, unlike
/// QDir::toNativeSeparators, which depends on the platform.
inline QString ToWindowsSeparators(QString path)
{
    return path.replace('/', '\\');
}
