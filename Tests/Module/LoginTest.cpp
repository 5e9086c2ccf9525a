#include "Support/ControllerTest.h"
#include "Support/HostDoubles.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/RsaCipher.h"
#include "HostModels/Files/PasswordCipher.h"

#include <QCoreApplication>

#include <gmock/gmock.h>
#include <openssl/err.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <thread>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const SPeer kFirst{"10.0.0.7", 4007};
const SPeer kSecond{"10.0.0.8", 4008};
const SPeer kFirstAgain{"10.0.0.7", 4099};

QString Encrypted(const QString& password)
{
    return *EncryptPassword(password);
}

QJsonObject LoginBody(const QString& user, const QString& password, int force = 0)
{
    return {{"username", user}, {"password", Encrypted(password)}, {"force", force}};
}

CallMatcher LoginReply(const SPeer& peer, int result, const QString& account, int access)
{
    return SentTo(peer.ip, peer.port, Command::ReplyTo(Command::Login),
                  {{"result", result}, {"account", account}, {"access", access}});
}

CallMatcher DisplacedNotice(const SPeer& peer)
{
    return SentEmptyTo(peer.ip, peer.port, Command::ReplyTo(Command::AppGone));
}

/// Calls a function when the login state has been read.
class CObservedUsers : public CHostUserModel {
public:
    bool GetLoginState() override
    {
        const bool state = CHostUserModel::GetLoginState();
        if (afterRead)
            afterRead();
        return state;
    }

    std::function<void()> afterRead;
};

class LoginTest : public ControllerTest {
protected:
    LoginTest()
    {
        const CExternalController& controller = Start();
        QObject::connect(&controller, &CExternalController::signalStartPushStream, [this](const std::string& text) {
            m_pushes.push_back(text + m_users->GetCurrentLoginUser().toStdString() + ' ' +
                               m_users->GetCurLoginAppVersion().toStdString() + ' ' +
                               std::to_string(m_users->GetCurLoginAppType()));
            EXPECT_TRUE(m_users->GetLoginState());
        });
        QObject::connect(&controller, &CExternalController::signalStopAppStreamPush, [this] {
            ++m_stops;
            EXPECT_FALSE(m_users->GetLoginState() || m_users->GetConnectState());
            EXPECT_EQ(m_users->GetCurrentLoginUser(), "");
        });
        m_users->Load({{"anna", Encrypted("apple"), "", 3, 0}, {"ben", Encrypted("pear"), "", 1, 0}});
        Doubles().users = m_users;
    }

    ~LoginTest() override { Doubles() = {}; }

    void Deliver(unsigned int code, const QJsonObject& body, const SPeer& peer)
    {
        RecordingChannels::Callbacks().appTcp(AppPacket(code, body, peer));
    }

    /// Logs in and returns the calls that send something.
    std::vector<SChannelCall> LogInAs(const QJsonObject& body, const SPeer& peer)
    {
        RecordingChannels::ForgetCalls();
        Deliver(Command::Login, body, peer);
        return RecordingChannels::Outgoing();
    }

    const std::shared_ptr<CObservedUsers> m_users = std::make_shared<CObservedUsers>();
    std::vector<std::string> m_pushes; ///< the user with the version and type of the app at each start of the stream
    int m_stops = 0;
};

} // namespace

TEST_F(LoginTest, AValidLoginIsAnsweredStoredAndReportedToTheHost)
{
    QJsonObject body = LoginBody("anna", "apple");
    body["appVersion"] = "2.0.0";
    body["appType"] = 7;

    EXPECT_THAT(LogInAs(body, kFirst), ElementsAre(LoginReply(kFirst, 0, "anna", 3)));

    EXPECT_TRUE(m_users->GetLoginState());
    EXPECT_EQ(m_users->GetCurLoginAppVersion(), "2.0.0");
    EXPECT_EQ(m_users->GetCurLoginAppType(), 7);
    EXPECT_THAT(m_pushes, ElementsAre("anna 2.0.0 7"));
    EXPECT_THAT(Reports(), ElementsAre(Report({0, Command::Login, true, body, 1})));
    EXPECT_THAT(RecordingChannels::CallNames(), ElementsAre("Timer.Create", "Timer.Start", "App.SendPackage"));
    EXPECT_EQ(RecordingChannels::Calls()[0].number, 1000) << "the period of the check, in milliseconds";
}

TEST_F(LoginTest, AQueuedConnectionReceivesTheSignalOfALogin)
{
    QObject context;
    int received = 0;
    QObject::connect(
        GetExternalController(), &CExternalController::signalStartPushStream, &context, [&] { ++received; },
        Qt::QueuedConnection);

    LogInAs(LoginBody("anna", "apple"), kFirst);
    EXPECT_EQ(received, 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(received, 1);
}

TEST_F(LoginTest, ThePublicKeyIsSentToTheAddressThatAsks)
{
    Deliver(0x007, {}, kSecond);

    EXPECT_THAT(RecordingChannels::Calls(), ElementsAre(SentTo(kSecond.ip, kSecond.port, 0x10000007,
                                                               {{"result", 1}, {"publicKey", PublicKeyText()}})));
    EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(LoginTest, EachIntegerOtherThanZeroForcesALogin)
{
    for (const QJsonValue& force : {QJsonValue(0), QJsonValue("1"), QJsonValue(true), QJsonValue(), QJsonValue(1),
                                    QJsonValue(2), QJsonValue(-1)}) {
        LogInAs(LoginBody("anna", "apple", 1), kFirst);
        QJsonObject body = LoginBody("ben", "pear");
        body["force"] = force;
        LogInAs(body, kSecond);
        EXPECT_EQ(m_users->GetCurrentLoginUser(), force.toInt() != 0 ? "ben" : "anna")
            << force.toVariant().toString().toStdString();
    }
}

TEST_F(LoginTest, TheReplyToAFailedLoginHasTheReasonAndTheCurrentUser)
{
    EXPECT_THAT(LogInAs(LoginBody("", "apple"), kFirst), ElementsAre(LoginReply(kFirst, 1, "", 0)));
    EXPECT_THAT(LogInAs(LoginBody("carl", "apple"), kFirst), ElementsAre(LoginReply(kFirst, 1, "", 0)));
    EXPECT_THAT(LogInAs(LoginBody("anna", "pear"), kFirst), ElementsAre(LoginReply(kFirst, 2, "", 0)));
    LogInAs(LoginBody("anna", "apple"), kFirst);
    ForgetReports();

    EXPECT_THAT(LogInAs(LoginBody("ben", "pear"), kSecond), ElementsAre(LoginReply(kSecond, 3, "anna", 3)));
    EXPECT_THAT(LogInAs(LoginBody("carl", "x"), kSecond), ElementsAre(LoginReply(kSecond, 3, "anna", 3)));
    EXPECT_THAT(LogInAs(LoginBody("carl", "x", 1), kSecond), ElementsAre(LoginReply(kSecond, 1, "anna", 3)));
    EXPECT_THAT(LogInAs(LoginBody("ben", "x", 1), kSecond), ElementsAre(LoginReply(kSecond, 2, "anna", 3)));
    EXPECT_EQ(m_pushes.size(), 1u);
    EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(LoginTest, AForcedLoginFromAnotherAddressFirstNotifiesTheDisplacedApp)
{
    LogInAs(LoginBody("anna", "apple"), kFirst);
    QJsonObject body = LoginBody("ben", "pear", 1);
    body["appVersion"] = "2.1.0";

    EXPECT_THAT(LogInAs(body, kSecond), ElementsAre(DisplacedNotice(kFirst), LoginReply(kSecond, 0, "ben", 1)));

    EXPECT_THAT(m_pushes, ElementsAre("anna  0", "ben  0", "ben 2.1.0 0"));
    EXPECT_THAT(LogInAs(LoginBody("anna", "apple", 1), kFirst),
                ElementsAre(DisplacedNotice(kSecond), LoginReply(kFirst, 0, "anna", 3)));
    EXPECT_THAT(LogInAs(LoginBody("ben", "pear", 1), kFirstAgain), ElementsAre(LoginReply(kFirstAgain, 0, "ben", 1)))
        << "the same address displaces no app";
    EXPECT_EQ(m_pushes.size(), 7u);
}

TEST_F(LoginTest, PasswordsThatCannotBeDecryptedAreRefused)
{
    // A short block is filled up with zeros, so more than the last byte is cut: that one may be zero.
    const QByteArray block = QByteArray::fromBase64(Encrypted("apple").toLatin1());
    const auto base64 = [](const QByteArray& bytes) { return QString::fromLatin1(bytes.toBase64()); };
    const std::vector<QJsonValue> bad = {QJsonValue(),
                                         5,
                                         "",
                                         "not base64!",
                                         QString(1 << 20, 'A'),
                                         base64(block.left(5)),
                                         base64(block.left(120)),
                                         base64(QByteArray(256, 'x')),
                                         QString::fromUtf8("\xE5\xA0\xB4")};

    for (const QJsonValue& password : bad) {
        EXPECT_THAT(LogInAs({{"username", "anna"}, {"password", password}}, kFirst),
                    ElementsAre(LoginReply(kFirst, 2, "", 0)))
            << password.toString().left(20).toStdString();
    }
    EXPECT_THAT(LogInAs({{"username", "anna"}, {"password", base64(block + "more")}}, kFirst), testing::SizeIs(1));
}

TEST_F(LoginTest, TheFirstClosedConnectionOfTheAppEndsItsLogin)
{
    LogInAs(LoginBody("anna", "apple"), kFirst);
    m_users->SetConnectState(true);
    ForgetReports();

    for (const char* other : {"10.0.0.8", "10.0.0.70", "10.0.0.", ""})
        RecordingChannels::Callbacks().appTcp(CloseNotice({other, kFirst.port}));
    EXPECT_TRUE(m_users->GetLoginState());
    EXPECT_THAT(Reports(), IsEmpty());

    // The second one has no effect.
    for (const SPeer& connection : {kFirstAgain, kFirst}) {
        RecordingChannels::Callbacks().appTcp(CloseNotice(connection));
        EXPECT_FALSE(m_users->GetLoginState());
        EXPECT_EQ(m_stops, 1);
        EXPECT_THAT(Reports(), ElementsAre(Report({0, 0x012, false, {}, 0})));
    }
}

TEST_F(LoginTest, OnlyOneOfTwoAppsThatLogInAtOnceSucceeds)
{
    std::atomic<int> reads{0};
    // Both logins would find that no app is logged in, if the second one didn't wait for the end of the first.
    m_users->afterRead = [&] {
        ++reads;
        WaitUntil([&] { return reads > 1; }, std::chrono::milliseconds(50));
    };
    std::thread other([&] { Deliver(Command::Login, LoginBody("anna", "apple"), kFirst); });

    Deliver(Command::Login, LoginBody("ben", "pear"), kSecond);

    other.join();
    EXPECT_EQ(Reports().size(), 1u);
}

TEST_F(LoginTest, ADisplacedAppThatClosesDuringTheTakeoverDoesNotEndTheNewLogin)
{
    LogInAs(LoginBody("anna", "apple"), kFirst);
    std::future<void> closing;
    QObject::connect(GetExternalController(), &CExternalController::signalStartPushStream, [&] {
        if (closing.valid())
            return;
        closing = std::async(std::launch::async, RecordingChannels::Callbacks().appTcp, CloseNotice(kFirst));
        // Without the lock, the notice would be handled before the login within this time.
        closing.wait_for(std::chrono::milliseconds(50));
    });

    LogInAs(LoginBody("ben", "pear", 1), kSecond);

    ASSERT_EQ(closing.wait_for(kTimeout), std::future_status::ready);
    EXPECT_TRUE(m_users->GetLoginState());
    EXPECT_EQ(m_users->GetCurrentLoginUser(), "ben");
    EXPECT_EQ(m_stops, 0);
}

TEST_F(LoginTest, SignalsAndReportsOfALogoutPrecedeThoseOfTheNextLogin)
{
    CNotes notes;
    std::future<void> login;
    const QJsonObject next = LoginBody("ben", "pear");
    LogInAs(LoginBody("anna", "apple"), kFirst);
    ForgetReports();
    QObject::connect(GetExternalController(), &CExternalController::signalStartPushStream, [&] { notes.Add("start"); });
    QObject::connect(GetExternalController(), &CExternalController::signalStopAppStreamPush, [&] {
        login = std::async(std::launch::async, [&] { Deliver(Command::Login, next, kSecond); });
        login.wait_for(std::chrono::milliseconds(50)); // as above
        notes.Add("stop");
    });

    RecordingChannels::Callbacks().appTcp(CloseNotice(kFirst));

    ASSERT_EQ(login.wait_for(kTimeout), std::future_status::ready);
    EXPECT_THAT(notes.All(), ElementsAre("stop", "start"));
    EXPECT_THAT(Reports(),
                ElementsAre(Report({0, Command::AppGone, false, {}, 0}), Report({0, Command::Login, true, next, 1})));
}

TEST_F(LoginTest, ASlotMayWaitForOtherThreadsThatCallTheController)
{
    CExternalController& controller = *GetExternalController();
    std::vector<std::future<void>> calls;
    const auto slot = [&] {
        calls.push_back(std::async(std::launch::async, [&] {
            controller.Write({SenderType::ProjectData, Command::LoginIdentity, {}, Source::App});
            controller.ModifyAppResSavePath("uploads");
            controller.ModifyAppSharedPath("shared");
            controller.SetPrjLoadState(1);
            controller.CloudControlConnect();
            controller.CloudControlLogin({}, {}, {});
        }));
        EXPECT_EQ(calls.back().wait_for(kTimeout), std::future_status::ready);
    };
    QObject::connect(&controller, &CExternalController::signalStartPushStream, slot);
    QObject::connect(&controller, &CExternalController::signalStopAppStreamPush, slot);

    LogInAs(LoginBody("anna", "apple"), kFirst);
    RecordingChannels::Callbacks().appTcp(CloseNotice(kFirst));

    EXPECT_EQ(calls.size(), 2u);
}

TEST(RsaCipherTest, EncryptedPasswordsAreDecodedAndDecrypted)
{
    const std::string longest(117, 'x');
    for (const std::string& password : {std::string("apple"), std::string("\xE5\xA0\xB4 \xF0\x9F\x8E\xAC"), longest})
        EXPECT_EQ(RsaPrivateDecrypt(DecodeBase64(Encrypted(QString::fromStdString(password)).toStdString())), password);

    EXPECT_EQ(DecodeBase64("YWJj").substr(0, 4), std::string("abc\0", 4));
    EXPECT_EQ(DecodeBase64(std::string("YWJj\0YWJj", 9)).substr(0, 4), std::string("abc\0", 4));
    EXPECT_EQ(RsaPrivateDecrypt("short"), "");
    RsaPrivateDecrypt(std::string(128, 'x'));
    EXPECT_EQ(ERR_peek_error(), 0U) << "no error may remain for the next caller of the library";
}
