#pragma once

#include "CameraExtension/CameraNode.h"
#include "CameraExtension/CameraObjects.h"
#include "CameraExtension/ClientListener.h"
#include "CameraExtension/FramePacer.h"

/// The camera extension: the node that consumers open, the socket that applications feed it through, and between them
/// the picture that shows.
class CameraExtension final : public CameraService {
public:
    explicit CameraExtension(EventLoop& loop);

    /// \return empty, or why the extension cannot run
    std::string start();

    const CameraWire::Welcome& welcome() const override { return mObjects.welcome(); }
    CameraWire::Reply property(const CameraWire::GetProperty& request) override;
    CameraWire::Reply setProperty(const CameraWire::SetProperty& request) override;
    std::uint32_t sinkStream() const override { return CameraObjects::kSinkStream; }
    void sinkStarted(ClientConnection& client) override;
    void sinkStopped(ClientConnection& client) override;
    void frameArrived(ClientConnection& client, IOSurface& surface, std::int64_t presentationNanoseconds) override;
    void quitAsked() override;
    void ended(ClientConnection& client) override;

private:
    EventLoop& mLoop;
    const CameraObjects mObjects;
    StandbyPicture mStandby;
    /// The node comes once the socket is this process's, so that there are never two.
    std::unique_ptr<CameraNode> mNode;
    std::unique_ptr<FramePacer> mPacer;
    /// Those that started the sink, the one whose frames are shown last.
    std::vector<ClientConnection*> mFeeders;
    ClientListener mListener;
};
