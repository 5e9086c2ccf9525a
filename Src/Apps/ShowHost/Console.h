#pragma once

#include <QByteArray>
#include <QSocketNotifier>
#include <QString>

#include <memory>

class CExternalController;
class CHostLog;

/// Reads commands from standard input, one per line, and executes them. Create it on the controller's thread; it runs
/// on that thread only. Answers are written to the log, also in quiet mode.
class CConsole : public QObject {
public:
    CConsole(CExternalController& controller, CHostLog& log);

    /// Whether standard input is open and can be watched. Always false on Windows. Call it before the program opens any
    /// file.
    static bool HasInput();
    /// Starts reading. Returns at once; commands are executed by the event loop.
    void Listen();
    /// Executes one command. Errors are written to the log.
    void CarryOut(const QString& line);

private:
    void Read();
    void Help();
    void PutDevice(const QString& json);
    void DeleteDevice(const QString& id);
    void ListDevices();
    void AddFault(const QString& json);
    void RemoveFault(const QString& number);
    void ListFaults();
    void Notify(const QString& arguments);
    void Answer(const QString& text, bool kept);

    CExternalController& m_controller;
    CHostLog& m_log;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QByteArray m_input;
};
