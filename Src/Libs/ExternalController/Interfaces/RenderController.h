#pragma once

#include <QImage>
#include <QString>
#include <QUuid>

/// Draws the stage. Its operations are safe to call from any thread.
class CRenderController {
public:
    virtual ~CRenderController() = default;

    /// The whole stage as it looks now; null if it can't be drawn.
    virtual QImage GetStageViewImage() = 0;
    /// A medium of the stage with its alpha channel; null if the medium isn't on the stage.
    virtual QImage GetImageWithAlpha(const QUuid& mediaId) = 0;
    /// Sets url to the address that the medium's picture is streamed to; false if it isn't streamed.
    virtual bool GetMediaStreamPushUrl(const QUuid& mediaId, QString& url) = 0;
};

/// Null if the host has no render controller.
CRenderController* GetRenderController();
