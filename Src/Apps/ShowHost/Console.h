#pragma once

#include <QByteArray>
#include <QSocketNotifier>
#include <QString>

#include <memory>

class CExternalController;
class CHostLog;

/// Commands for the host on its standard input, a line each, carried out on the thread that made it; the controller's.
class CConsole : public QObject {
public:
    CConsole(CExternalController& controller, CHostLog& log);

    /// Whether the program was started with a standard input that can be listened to.
    static bool HasInput();
    void Listen();
    void CarryOut(const QString& line);

private:
    void Read();
    void Help();
    void PutDevice(const QString& json);
    void DeleteDevice(const QString& id);
    void ListDevices();
    void Answer(const QString& text, bool kept);

    CExternalController& m_controller;
    CHostLog& m_log;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QByteArray m_input;
};
