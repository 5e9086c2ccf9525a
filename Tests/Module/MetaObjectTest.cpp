#include "Support/ControllerTest.h"

#include <QMetaMethod>

#include <string>
#include <vector>

using testing::ElementsAre;

namespace {

/// Returns for example "signal signalCloseSoftWare(bool closeServer)", or "clone ..." for the overload of a signal that
/// moc generates for a default argument.
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
    EXPECT_EQ(meta.propertyCount(), meta.propertyOffset());
    EXPECT_EQ(meta.enumeratorCount(), meta.enumeratorOffset());
    EXPECT_EQ(meta.classInfoCount(), meta.classInfoOffset());
}
