#pragma once

#include "ExternalController/Common/Vocabulary.h"
#include "Interfaces/ResultModel.h"
#include "ShowHost/HostEvents.h"

#include <QString>

class CExternalController;
class CHostLog;

/// Carries out what the module hands to the host, on the thread of the channel that received it, and tells the remote
/// what became of it. Changes of the show come one after the other.
class CHostCommands {
public:
    /// Uploads are found below the folder.
    CHostCommands(CExternalController& controller, CHostLog& log, QString uploadFolder);

    void CarryOut(const SResultData& command);

private:
    void Route(const SResultData& command);
    void ChangeShow(const SResultData& command);
    void Answer(const SResultData& command, ResultText::Index result);
    void TakeUpload(const QString& path);

    CExternalController& m_controller;
    CHostLog& m_log;
    const QString m_uploadFolder;
    CHostEvents m_events;
};
