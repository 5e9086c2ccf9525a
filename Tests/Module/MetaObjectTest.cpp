#include "Support/ControllerTest.h"

#include <QMetaMethod>

#include <set>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::UnorderedElementsAreArray;

namespace {

/// "signal signalCloseSoftWare(bool closeServer)"; a signal that stands for another with a default argument is "clone
/// ...".
std::string Describe(const QMetaMethod& method)
{
    std::string text = method.attributes() & QMetaMethod::Cloned    ? "clone "
                       : method.methodType() == QMetaMethod::Signal ? "signal "
                       : method.access() == QMetaMethod::Private    ? "private slot "
                                                                    : "other ";
    text += method.name().toStdString() + '(';
    const QList<QByteArray> types = method.parameterTypes();
    const QList<QByteArray> names = method.parameterNames();
    for (int i = 0; i < types.size(); ++i)
        text +=
            (i == 0 ? "" : ", ") + types[i].toStdString() + (names[i].isEmpty() ? "" : ' ' + names[i].toStdString());
    return text + ')';
}

} // namespace

TEST(MetaObjectTest, HostsFindTheMethodsTheyConnectToInTheirOrder)
{
    const QMetaObject& meta = CExternalController::staticMetaObject;

    std::vector<std::string> methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        methods.push_back(Describe(meta.method(i)));

    EXPECT_THAT(methods, ElementsAre("signal signalStartPushStream(std::string)", "clone signalStartPushStream()",
                                     "signal signalStopAppStreamPush()", "signal signalCloseSoftWare(bool closeServer)",
                                     "signal signalRestartSoftware()",
                                     "private slot slotSceneStartExControlCmd(QUuid sceneGroupId, QUuid sceneId)",
                                     "private slot slotSceneEndExControlCmd(QUuid sceneGroupId, QUuid sceneId)",
                                     "private slot slotNotifyScenePlay(QUuid sceneGroupId, QUuid sceneId)",
                                     "private slot slotUpdateResourceUsed(QUuid resId, bool bFlag)",
                                     "private slot slotUpdateResourceDexumerState(QUuid resId, bool bFlag)"));
}

TEST(MetaObjectTest, TheStringTableHoldsTheseNamesAndNoOther)
{
    // The texts stand right behind the table, so the first one's offset tells the table's length.
    const QByteArrayData* table = CExternalController::staticMetaObject.d.stringdata;
    const std::size_t entries = static_cast<std::size_t>(table->offset) / sizeof *table;

    std::set<std::string> names;
    for (std::size_t i = 0; i < entries; ++i) {
        if (table[i].size > 0)
            names.insert(static_cast<const char*>(table[i].data()));
    }

    const std::vector<std::string> expected = {"CExternalController",
                                               "signalStartPushStream",
                                               "std::string",
                                               "signalStopAppStreamPush",
                                               "signalCloseSoftWare",
                                               "closeServer",
                                               "signalRestartSoftware",
                                               "slotSceneStartExControlCmd",
                                               "sceneGroupId",
                                               "sceneId",
                                               "slotSceneEndExControlCmd",
                                               "slotNotifyScenePlay",
                                               "slotUpdateResourceUsed",
                                               "resId",
                                               "bFlag",
                                               "slotUpdateResourceDexumerState"};
    EXPECT_THAT(names, UnorderedElementsAreArray(expected));
}

TEST(MetaObjectTest, StartPushStreamWithoutItsArgumentSendsAnEmptyText)
{
    CExternalController controller;
    std::vector<std::string> received;
    QObject::connect(&controller, &CExternalController::signalStartPushStream,
                     [&](const std::string& text) { received.push_back(text); });

    const bool invoked = QMetaObject::invokeMethod(&controller, "signalStartPushStream");

    EXPECT_TRUE(invoked);
    EXPECT_THAT(received, ElementsAre(""));
}
