#include "Senders/Case.h"

#include "ExternalController/ExternalController.h"
#include "HostModels/Show/HostShow.h"

#include <QImage>
#include <QJsonDocument>

#include <memory>
#include <utility>

namespace {

void AddDecade(std::vector<int>& numbers, int first, int count)
{
    for (int number = first; number < first + 10 && number < count; ++number) {
        numbers.push_back(number);
        if (number > 0)
            AddDecade(numbers, number * 10, count);
    }
}

} // namespace

void Ask(int code, const QByteArray& body, Source::Flag source)
{
    const CShowReading reading; // as in a channel's callback for a request
    GetExternalController()->Write({code & SenderType::kMask, code, QJsonDocument::fromJson(body).object(), source});
}

SShow ShowOf(SProject project)
{
    SShow show;
    show.projects.push_back(std::make_shared<const SProject>(std::move(project)));
    return show;
}

QImage MakePicture(const QSize& size)
{
    QImage image(size, QImage::Format_ARGB32);
    quint32 grain = 1;
    for (int y = 0; y < image.height(); ++y) {
        auto* const line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            grain = grain * 1664525 + 1013904223;
            const int noise = static_cast<int>(grain >> 30);
            line[x] = qRgba(x * 250 / image.width() + noise, y * 250 / image.height() + noise, (x + y) % 250 + noise,
                            x < 16 ? x * 16 : 255);
        }
    }
    return image;
}

QUuid IdOf(int kind, int number)
{
    const QByteArray name = QByteArray::number(kind) + '/' + QByteArray::number(number);
    return QUuid::createUuidV5(QUuid(), name);
}

std::vector<int> InTextOrder(int count)
{
    std::vector<int> numbers;
    numbers.reserve(static_cast<std::size_t>(count));
    AddDecade(numbers, 0, count);
    return numbers;
}
