#pragma once

#include <QString>

/// A pseudo-terminal (POSIX pty): bytes that a program writes to its port can be read from Descriptor().
class CPseudoTerminal {
public:
    /// Creates the pseudo-terminal. Throws CFailure if that fails.
    /// \param link path of a symbolic link to the port, removed by the destructor; empty for none
    explicit CPseudoTerminal(const QString& link);
    ~CPseudoTerminal();
    CPseudoTerminal(const CPseudoTerminal&) = delete;
    CPseudoTerminal& operator=(const CPseudoTerminal&) = delete;

    /// The path that the host opens as its serial port.
    const QString& PortName() const { return m_portName; }
    /// The descriptor to read from. Owned by this object.
    int Descriptor() const { return m_descriptor; }

private:
    void MakeLink(const QString& link);
    void Close();

    int m_descriptor = -1;
    int m_held = -1;
    QString m_portName;
    QString m_link;
};
