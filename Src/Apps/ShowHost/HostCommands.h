#pragma once

#include "ExternalController/Common/Vocabulary.h"
#include "Interfaces/ResultModel.h"
#include "ShowHost/HostEvents.h"
#include "ShowHost/Uploads.h"

#include <QString>

class CExternalController;
class CHostLog;

/// Executes the commands that the module passes to the host and sends the result to the remote. Runs on the thread of
/// the channel that received the command; changes of the show are serialized.
class CHostCommands {
public:
    /// Call it on the host's thread. Reading of uploads and of pictures stops when the application is about to quit.
    /// \param controller   must outlive this object
    /// \param log          must outlive this object
    /// \param uploadFolder folder in which the FTP server stores uploads
    CHostCommands(CExternalController& controller, CHostLog& log, const QString& uploadFolder);

    /// Executes one command and answers it. Any thread.
    void CarryOut(const SResultData& command);
    /// Executes a command of the operator at this computer, which changes the show. Any thread.
    ResultText::Index CarryOutForOperator(int cmdCode, const QJsonObject& body);

private:
    void Route(const SResultData& command);
    ResultText::Index ChangeShow(const SResultData& command);
    void Answer(const SResultData& command, ResultText::Index result);
    void LogIn();

    CExternalController& m_controller;
    CHostLog& m_log;
    CHostEvents m_events;
    CUploads m_uploads; ///< declared after m_events, which its thread uses
};
