#include "ShowRemote/Console/OutFile.h"

#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Terminal.h"

#include <QFile>
#include <QFileInfo>

void WriteOutFile(const QString& name, const QByteArray& bytes)
{
    QFile file(name);
    const bool isOpen = file.open(QIODevice::WriteOnly);
    if (!isOpen || file.write(bytes) != bytes.size() || !file.flush()) {
        const QString reason = file.errorString();
        // Don't remove a device.
        if (isOpen && QFileInfo(name).isFile())
            file.remove();
        throw CFailure(QStringLiteral("can't write %1: %2").arg(name, reason));
    }
    Terminal::PrintLine(QStringLiteral("written to %1").arg(name));
}
