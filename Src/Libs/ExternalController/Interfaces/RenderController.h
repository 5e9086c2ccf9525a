#pragma once

#include <QImage>
#include <QString>
#include <QUuid>

/// Draws the stage. Its operations are safe to call from any thread.
class CRenderController {
public:
    virtual ~CRenderController() = default;

    /// What the whole stage looks like now; null when it can't be drawn.
    virtual QImage GetStageViewImage() = 0;
    /// One medium of the stage with its alpha channel; null for one that isn't there.
    virtual QImage GetImageWithAlpha(const QUuid& mediaId) = 0;
    /// Sets where the medium's picture is streamed to; false when it isn't.
    virtual bool GetMediaStreamPushUrl(const QUuid& mediaId, QString& url) = 0;
};

/// Null when the host has none.
CRenderController* GetRenderController();
