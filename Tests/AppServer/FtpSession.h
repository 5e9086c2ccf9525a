#pragma once

#include "AppServer/AppServerConfig.h"

#include <QByteArray>
#include <QTcpSocket>

#include <gmock/gmock.h>

#include <sys/socket.h>

inline constexpr char kFtpTestAddress[] = "127.0.0.21";
inline constexpr int kDeadlineMs = 20000;

/// An FTP client that can also misbehave.
class CFtpSession {
public:
    CFtpSession()
    {
        m_control.connectToHost(kFtpTestAddress, AppServer::kFtpPort);
        Reply();
        Command("USER demo");
        EXPECT_EQ(Command("PASS demo"), 230);
    }

    int Command(const QByteArray& line)
    {
        m_control.write(line + "\r\n");
        return Reply();
    }

    int Reply()
    {
        while (!m_control.canReadLine()) {
            if (!m_control.waitForReadyRead(kDeadlineMs))
                return 0;
        }
        m_lastReply = m_control.readLine();
        return m_lastReply.left(3).toInt();
    }

    void OpenData()
    {
        EXPECT_EQ(Command("EPSV"), 229);
        m_data.connectToHost(kFtpTestAddress, m_lastReply.split('|').value(3).toUShort());
        EXPECT_TRUE(m_data.waitForConnected(kDeadlineMs));
    }

    /// Opens a data connection, sends the upload command, and sends the bytes.
    void Upload(const QByteArray& command, const QByteArray& bytes)
    {
        OpenData();
        EXPECT_THAT(Command(command), testing::AnyOf(125, 150));
        Send(bytes);
    }

    void Send(const QByteArray& bytes)
    {
        m_data.write(bytes);
        while (m_data.bytesToWrite() > 0 && m_data.waitForBytesWritten(kDeadlineMs)) {
        }
    }

    /// Returns what a command such as LIST sends on the data connection.
    QByteArray List(const QByteArray& command)
    {
        OpenData();
        EXPECT_THAT(Command(command), testing::AnyOf(125, 150));
        m_data.waitForDisconnected(kDeadlineMs);
        EXPECT_EQ(Reply(), 226);
        return m_data.readAll();
    }

    void CloseData() { m_data.close(); }
    void CloseControl() { m_control.close(); }

    void ResetData()
    {
        const linger reset{1, 0};
        setsockopt(static_cast<int>(m_data.socketDescriptor()), SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
        m_data.abort();
    }

private:
    QTcpSocket m_control;
    QTcpSocket m_data;
    QByteArray m_lastReply;
};
