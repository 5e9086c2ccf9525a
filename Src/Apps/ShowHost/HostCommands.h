#pragma once

#include "ExternalController/Common/Vocabulary.h"
#include "Interfaces/ResultModel.h"
#include "ShowHost/HostEvents.h"
#include "ShowHost/Uploads.h"

#include <QString>

class CExternalController;
class CHostLog;

/// Carries out what the module hands to the host, on the thread of the channel that received it, and answers the remote
/// with the result. Changes of the show come one after the other.
class CHostCommands {
public:
    /// On the host's thread. Uploads and decoding stop when the application is about to quit.
    /// \param uploadFolder the folder that the FTP server stores uploads in
    CHostCommands(CExternalController& controller, CHostLog& log, const QString& uploadFolder);

    void CarryOut(const SResultData& command);

private:
    void Route(const SResultData& command);
    void ChangeShow(const SResultData& command);
    void Answer(const SResultData& command, ResultText::Index result);
    void LogIn();

    CExternalController& m_controller;
    CHostLog& m_log;
    CHostEvents m_events;
    CUploads m_uploads; ///< after the events, which its thread uses
};
