#pragma once

#include <QString>

/// A pair of ends: what a program writes to the serial port of that name can be read from the other end.
class CPseudoTerminal {
public:
    /// link, unless empty: a path that leads to the port for as long as this lives. Throws CFailure.
    explicit CPseudoTerminal(const QString& link);
    ~CPseudoTerminal();
    CPseudoTerminal(const CPseudoTerminal&) = delete;
    CPseudoTerminal& operator=(const CPseudoTerminal&) = delete;

    /// What a host opens.
    const QString& PortName() const { return m_portName; }
    /// The end to read from.
    int Descriptor() const { return m_descriptor; }

private:
    void MakeLink(const QString& link);
    void Close();

    int m_descriptor = -1;
    int m_held = -1;
    QString m_portName;
    QString m_link;
};
