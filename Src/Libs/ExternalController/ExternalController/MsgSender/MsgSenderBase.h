#pragma once

#include "ExternalController/MsgSender/IMsgSenderBase.h"
#include "ExternalController/MsgSender/Reply.h"
#include "Interfaces/AppServer.h"
#include "Interfaces/CloudControl.h"

#include <QByteArray>

#include <string>

namespace Command {
enum Code : int;
}

class CCentralControllerManager;
class IFPClientManager;

/// Sends the replies of all senders. The channels belong to the controller and exist longer than the sender. Sending to
/// a channel that is null does nothing.
class CMsgSenderBase : public IMsgSenderBase {
public:
    CMsgSenderBase(CAPPServerManager* appServer, IFPClientManager* fpClient, CCentralControllerManager* centralControl,
                   ICloudControlManager* cloudControl);

    bool HandleMsg(SOperation request) override;
    void HandleMsgEx(SOperation request) override;
    void SetSenderType(int type) override;
    int GetSenderType() override;

    /// Sends an envelope with the code as given: replies to the FP controller have no reply bit.
    virtual void SendToFP(unsigned int cmdCode, QByteArray json);
    /// Sends a text in one datagram.
    virtual void SendToCentralControl(const std::string& json, const std::string& remoteIp,
                                      const unsigned short& remotePort);
    void SendToCloud(const std::string& text, CloudControl::EROUTE_TYPE route);
    /// Sends an envelope to the connected app.
    ///
    /// \param cmdCode   the complete code, with the reply bit for a reply
    /// \param transport an AppServer::Channel; Bulk for pictures and other binary data
    void SendToApp(unsigned int cmdCode, QByteArray json, int transport = AppServer::Control);

protected:
    /// One line of a sender's dispatch table.
    template <class Sender>
    struct SHandler {
        Command::Code code;
        void (Sender::*handle)(const SOperation& request);
    };

    /// Calls the handler of the request's code, or the fallback if the table doesn't have the code. Returns true.
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

    // Names of the reply functions, here and in the senders:
    // - with IfAsked or Asker in the name: sends to a peer only if the request has the source flag of this peer
    // - all others: sends to the peer in any case
    // - EchoTo...: the reply is the body of the request, into which the host may have put a result
    // A reply to the app carries the reply bit, a reply to the FP controller doesn't.

    void SendReplyToApp(int cmdCode, const CReply& reply);
    void SendReplyToFP(int cmdCode, const CReply& reply);
    /// Sends the reply to the address in the request body's "remoteIp" and "remotePort".
    void SendReplyToCentralControl(const SOperation& request, const CReply& reply);
    /// Sends an encoded picture on the bulk channel.
    ///
    /// \param id the id of the object that the picture shows
    void SendPictureToApp(int cmdCode, const QUuid& id, const QByteArray& picture);

    // These replies carry the code of the request.
    void ReplyToAppIfAsked(const SOperation& request, const CReply& reply);
    void ReplyToFPIfAsked(const SOperation& request, const CReply& reply);
    void ReplyToCentralControlIfAsked(const SOperation& request, const CReply& reply);

    /// Sends the text, which the host has put into the request body, to the address in the body's "remoteIp" and
    /// "remotePort". Does nothing if the body has no "remoteIp".
    void SendHostTextToCentralControl(const SOperation& request, const QByteArray& text);

    /// Sends the request body back to each of the app and the FP controller that asked.
    void EchoToAppAndFPIfAsked(const SOperation& request);
    /// Sends the request body back to the app if it asked, otherwise to the FP controller if that asked. Returns
    /// whether either of them asked.
    bool EchoToAppOrFPIfAsked(const SOperation& request);

    int m_nSenderType = SenderType::None;
    CAPPServerManager* m_pAppServer;
    IFPClientManager* m_pFPClient;
    CCentralControllerManager* m_pCentralControl;
    ICloudControlManager* m_pCloudControl;
};

/// Returns the translated name of ControlSource::CloudControl for logs.
QString TrCloudControl();
