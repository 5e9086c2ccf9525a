#include "ShowRemote/Peers/PseudoTerminal.h"

#if !defined(_WIN32)

#include "ShowRemote/Console/Failure.h"

#include <QFile>
#include <QFileInfo>

#include <cstdlib>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

CPseudoTerminal::CPseudoTerminal(const QString& link)
{
    m_descriptor = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (m_descriptor >= 0 && grantpt(m_descriptor) == 0 && unlockpt(m_descriptor) == 0)
        m_portName = QString::fromLocal8Bit(ptsname(m_descriptor));
    // Stays open, so that the port remains usable after a host closes it, and passes every byte unchanged.
    m_held = open(m_portName.toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios settings{};
    if (m_held < 0 || tcgetattr(m_held, &settings) != 0) {
        Close();
        throw CFailure(QStringLiteral("can't create a pseudo-terminal: %1").arg(qt_error_string()));
    }
    cfmakeraw(&settings);
    tcsetattr(m_held, TCSANOW, &settings);
    if (!link.isEmpty())
        MakeLink(link);
}

void CPseudoTerminal::MakeLink(const QString& link)
{
    // Remove only a dangling link, which an earlier run may have left.
    const QFileInfo before(link);
    if (before.isSymLink() && !before.exists())
        QFile::remove(link);
    if (!QFile::link(m_portName, link)) {
        const QString reason = qt_error_string();
        Close();
        throw CFailure(QStringLiteral("can't create the link %1: %2").arg(link, reason));
    }
    m_link = link;
    m_portName = link;
}

CPseudoTerminal::~CPseudoTerminal()
{
    if (!m_link.isEmpty())
        QFile::remove(m_link);
    Close();
}

void CPseudoTerminal::Close()
{
    if (m_held >= 0)
        close(m_held);
    if (m_descriptor >= 0)
        close(m_descriptor);
}

#endif
