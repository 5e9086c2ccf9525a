#include "ShowRemote/OutFile.h"

#include "ShowRemote/Failure.h"
#include "ShowRemote/Terminal.h"

#include <QFile>

void WriteOutFile(const QString& name, const QByteArray& bytes)
{
    QFile file(name);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush())
        throw CFailure(QStringLiteral("can't write %1: %2").arg(name, file.errorString()));
    Terminal::PrintLine(QStringLiteral("written to %1").arg(name));
}
