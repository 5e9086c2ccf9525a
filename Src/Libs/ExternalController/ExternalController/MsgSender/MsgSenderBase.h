#pragma once

#include "ExternalController/Common/Command.h"
#include "ExternalController/MsgSender/IMsgSenderBase.h"
#include "ExternalController/MsgSender/Reply.h"
#include "Interfaces/AppServer.h"
#include "Interfaces/CloudControl.h"

#include <QByteArray>

#include <string>

class CCentralControllerManager;
class IFPClientManager;

/// The reply plumbing that every sender shares. The channels belong to the controller and outlive the sender; one that
/// is null is passed over without a report.
class CMsgSenderBase : public IMsgSenderBase {
public:
    CMsgSenderBase(CAPPServerManager* appServer, IFPClientManager* fpClient, CCentralControllerManager* centralControl,
                   ICloudControlManager* cloudControl);

    bool HandleMsg(SOperation request) override;
    void HandleMsgEx(SOperation request) override;
    void SetSenderType(int type) override;
    int GetSenderType() override;

    /// Sends a packet under the request's own code.
    virtual void SendToFP(unsigned int cmdCode, QByteArray json);
    virtual void SendToCentralControl(const std::string& json, const std::string& remoteIp,
                                      const unsigned short& remotePort);
    void SendToCloud(const std::string& text, CloudControl::EROUTE_TYPE route);
    /// Sends a packet to the connected app on one of its channels, Bulk for pictures and other binary data.
    void SendToApp(unsigned int cmdCode, QByteArray json, int transport = AppServer::Control);

protected:
    /// One line of a sender's dispatch table.
    template <class Sender>
    struct SHandler {
        Command::Code code;
        void (Sender::*handle)(const SOperation& request);
    };

    /// Calls the handler of the request's code, or the fallback for a code that the table doesn't have.
    template <class Sender, class Handlers, class Fallback>
    static bool Dispatch(Sender& sender, const Handlers& handlers, const SOperation& request, Fallback fallback)
    {
        for (const auto& handler : handlers) {
            if (handler.code == request.nCmdCode) {
                (sender.*handler.handle)(request);
                return true;
            }
        }
        (sender.*fallback)(request);
        return true;
    }

    // A reply to somebody, whoever asked. A long one that is moved in is gone before its text is packed.
    void SendReplyToApp(int cmdCode, CReply reply);
    void SendReplyToFP(int cmdCode, const CReply& reply);
    /// Answers to the address in the request body's "remoteIp" and "remotePort".
    void SendReplyToCentralControl(const SOperation& request, const CReply& reply);
    /// A picture of what has the id.
    void SendPictureToApp(int cmdCode, const QUuid& id, const QByteArray& picture);

    // A reply under the request's own code to one who asked; nothing if that one did not.
    void ReplyToAppIfAsked(const SOperation& request, const CReply& reply);
    void ReplyToFPIfAsked(const SOperation& request, const CReply& reply);
    void ReplyToCentralControlIfAsked(const SOperation& request, const CReply& reply);

    /// Passes on the text that the host put into the request body, unless the body names no address.
    void SendHostTextToCentralControl(const SOperation& request, const QByteArray& text);

    /// The request body comes back to the app and to the FP client, whichever asked.
    void EchoToAppAndFPIfAsked(const SOperation& request);
    /// The request body comes back to the app or else to the FP client; true if either asked.
    bool EchoToAppOrFPIfAsked(const SOperation& request);

    int m_nSenderType = SenderType::None;
    CAPPServerManager* m_pAppServer;
    IFPClientManager* m_pFPClient;
    CCentralControllerManager* m_pCentralControl;
    ICloudControlManager* m_pCloudControl;
};

/// The display name of the cloud-control source in logs and results.
QString TrCloudControl();
