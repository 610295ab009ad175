#include "CameraExtension/CameraExtension.h"

#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOCameraDeviceConstants.h"

#include <algorithm>

namespace {

constexpr auto frameWidth = static_cast<std::uint32_t>(CMIOOutputViewController_CMIOExtension_FrameSize.width);
constexpr auto frameHeight = static_cast<std::uint32_t>(CMIOOutputViewController_CMIOExtension_FrameSize.height);
constexpr auto frameRate = static_cast<std::uint32_t>(CMIOOutputViewController_CMIOExtension_FrameRate);

}

CameraExtension::CameraExtension(EventLoop& loop)
    : mLoop(loop)
    , mStandby(frameWidth, frameHeight, frameRate)
    , mListener(loop, *this)
{
}

std::string CameraExtension::start()
{
    if (auto reason = mListener.open(); !reason.empty())
        return reason;
    mNode = std::make_unique<CameraNode>(mLoop,
        CameraNodeDescription { CMIOOutputViewController_CMIOExtension_BundleIdentifier->string(), CameraObjects::kName,
            frameWidth, frameHeight, frameRate },
        [this] {
            if (mPacer)
                mPacer->consumersChanged();
        });
    mPacer = std::make_unique<FramePacer>(mLoop, *mNode, mStandby, frameRate);
    return {};
}

CameraWire::Reply CameraExtension::property(const CameraWire::GetProperty& request)
{
    return mObjects.property(request, mNode ? mNode->consumers() : 0);
}

CameraWire::Reply CameraExtension::setProperty(const CameraWire::SetProperty& request)
{
    return mObjects.setProperty(request);
}

void CameraExtension::sinkStarted(ClientConnection& client)
{
    std::erase(mFeeders, &client);
    mFeeders.push_back(&client);
}

void CameraExtension::sinkStopped(ClientConnection& client)
{
    std::erase(mFeeders, &client);
}

void CameraExtension::frameArrived(ClientConnection& client, IOSurface& surface, std::int64_t presentationNanoseconds)
{
    if (!mPacer || mFeeders.empty() || mFeeders.back() != &client)
        return;
    mPacer->frameArrived(
        { surface.baseAddress(), surface.width(), surface.height(), surface.bytesPerRow() }, presentationNanoseconds);
}

void CameraExtension::quitAsked()
{
    mLoop.quit();
}

void CameraExtension::ended(ClientConnection& client)
{
    mListener.discard(client);
}
