#include "Senders/Case.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/ExternalController.h"

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
    GetExternalController()->Write({code & Command::kSenderMask, code, QJsonDocument::fromJson(body).object(), source});
}

SShow ShowOf(SProject project)
{
    SShow show;
    show.projects.push_back(std::make_shared<const SProject>(std::move(project)));
    return show;
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
