#include "Support/ControllerTest.h"

#include "ExternalController/Common/Command.h"
#include "Interfaces/PlayController.h"
#include "Interfaces/ResourceModel.h"

#include <QCoreApplication>
#include <QUuid>

#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

void ChangeScene()
{
    emit GetPlayController()->signalExControlNotifySceneChanged(QUuid::createUuid(), QUuid::createUuid());
}

} // namespace

using HostNotificationsTest = ControllerTest;

TEST_F(HostNotificationsTest, ASceneChangeOnAnotherThreadIsSentOnTheControllersThread)
{
    Start();
    std::thread::id sender;
    RecordingChannels::OnCall([&](const SChannelCall&) { sender = std::this_thread::get_id(); });

    std::thread(ChangeScene).join();
    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
    QCoreApplication::processEvents();

    EXPECT_THAT(RecordingChannels::Calls(), ElementsAre(Sent(Command::ReplyTo(Command::ScenePlay), {{"result", 1}})));
    EXPECT_EQ(sender, std::this_thread::get_id());
}

TEST_F(HostNotificationsTest, ChangesOfAResourceAreSentToTheApp)
{
    Start();
    CResourceModel& model = *CResourceModel::GetInstance();
    const QUuid id("1b4e28ba-2fa1-4d3e-a3c5-7b0e4a659c13");
    const QString text = "1b4e28ba-2fa1-4d3e-a3c5-7b0e4a659c13";

    for (const bool flag : {true, false}) {
        RecordingChannels::ForgetCalls();
        emit model.signalExControlResourceUsedChanged(id, flag);
        emit model.signalExControlResourceDexumerStateChanged(id, flag);
        EXPECT_THAT(RecordingChannels::Calls(),
                    ElementsAre(Sent(0x10000421, {{"resId", text}, {"usedFlag", flag}}),
                                Sent(0x10000422, {{"resId", text}, {"dexumerFlag", flag}})));
    }
}

TEST_F(HostNotificationsTest, NothingIsSentBeforeInitOrAfterTheEnd)
{
    const auto emitEverything = [] {
        ChangeScene();
        emit CResourceModel::GetInstance()->signalExControlResourceUsedChanged(QUuid::createUuid(), true);
        emit CResourceModel::GetInstance()->signalExControlResourceDexumerStateChanged(QUuid::createUuid(), true);
    };
    InitExternalController();

    emitEverything();
    EXPECT_THAT(RecordingChannels::Outgoing(), IsEmpty());

    Start();
    UninitExternalController();
    emitEverything();
    EXPECT_THAT(RecordingChannels::Outgoing(), IsEmpty());
}
