#include "Tovrin09/Tovrin09/CMIOOutputViewController.h"

#include "Platform/dispatch/dispatch.h"
#include "Platform/Foundation/NSError.h"
#include "WithRequirements/Requirements.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientDeviceList.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOCameraDeviceConstants.h"

#include <algorithm>

namespace {

// Their order as texts is the order of the table's rows.
CFString* const deviceNameKey = CFSTR("CMIOOutputViewController_DeviceNameKey");
CFString* const deviceUUIDKey = CFSTR("CMIOOutputViewController_DeviceUUIDKey");
CFString* const errorKey = CFSTR("CMIOOutputViewController_ErrorKey");
CFString* const statusKey = CFSTR("CMIOOutputViewController_StatusKey");

}

NS_IMPLEMENTATION(CMIOOutputViewController, NSViewController)
{
    type.initialize(&CMIOOutputViewController::initialize);
    type.outlet("outletDeviceConnectionController", &CMIOOutputViewController::outletDeviceConnectionController);
    type.outlet("outletCameraDeviceController", &CMIOOutputViewController::outletCameraDeviceController);
    type.outlet("outletPixelsView", &CMIOOutputViewController::outletPixelsView);
    type.outlet("outletTableView", &CMIOOutputViewController::outletTableView);
    type.message("copyFramePixelBufferWithPresentationTime:",
        &CMIOOutputViewController::copyFramePixelBufferWithPresentationTime);
    type.message("deviceConnectionTimerConnect:", &CMIOOutputViewController::deviceConnectionTimerConnect);
    type.message("systemExtension:requestStatus:", &CMIOOutputViewController::systemExtension_requestStatus);
    type.message("systemExtension:requestError:", &CMIOOutputViewController::systemExtension_requestError);
    type.message("applicationWillFinishLaunching:", &CMIOOutputViewController::applicationWillFinishLaunching);
    type.message("applicationDidFinishLaunching:", &CMIOOutputViewController::applicationDidFinishLaunching);
    type.message("numberOfRowsInTableView:", &CMIOOutputViewController::numberOfRowsInTableView);
    type.message(
        "tableView:objectValueForTableColumn:row:", &CMIOOutputViewController::tableView_objectValueForTableColumn_row);
}

void CMIOOutputViewController::initialize()
{
    ZVCMIOClientDeviceList::makeAllDevicesVisible();
}

CMIOOutputViewController::CMIOOutputViewController()
{
    _initCommon();
}

CMIOOutputViewController::~CMIOOutputViewController()
{
    setOutputPixelBuffer(nullptr);
}

void CMIOOutputViewController::_initCommon()
{
    _statusDictionary = make<NSMutableDictionary>();
    setStatusValue_forKey(CFSTR(""), statusKey);
}

void CMIOOutputViewController::applicationWillFinishLaunching(NSNotification* /*notification*/)
{
    constexpr auto size = CMIOOutputViewController_CMIOExtension_FrameSize;
    _renderer = ZVCMIOPixelBufferRenderer::rendererWithDimensions_frameRate(
        CMVideoDimensions { static_cast<std::int32_t>(size.width), static_cast<std::int32_t>(size.height) },
        CMIOOutputViewController_CMIOExtension_FrameRate);
    if (_renderer)
        _renderer->invertColors();
    const auto camera = outletCameraDeviceController.strongReference();
    if (!camera)
        return;
    camera->setCameraFrameRate(CMIOOutputViewController_CMIOExtension_FrameRate);
    if (const auto connection = outletDeviceConnectionController.strongReference()) {
        connection->setCMIOCameraDeviceUUID(CMIOOutputViewController_CMIOExtension_DeviceUUID);
        connection->setCameraDevice(camera);
        connection->setDelegate(this);
    }
}

void CMIOOutputViewController::applicationDidFinishLaunching(NSNotification* /*notification*/)
{
    const auto connection = outletDeviceConnectionController.strongReference();
    if (!connection)
        return;
    if (outletCameraDeviceController.strongReference())
        connection->establishCameraConnection();
    setStatusValue_forKey(connection->CMIOCameraDeviceUUID(), deviceUUIDKey);
}

void CMIOOutputViewController::setOutputPixelBuffer(CVPixelBufferRef pixelBuffer)
{
    _outputPixelBuffer.set(pixelBuffer);
    outputPixelBufferChanged();
}

void CMIOOutputViewController::outputPixelBufferChanged()
{
    const auto frame = outputPixelBufferRetainedCopy();
    if (!CFRequiredTypeOf(frame, CVPixelBufferGetTypeID(), "outputPixelBufferRetainedCopy"))
        return;
    if (const auto view = outletPixelsView.strongReference())
        view->setLayerPixelBuffer(frame);
}

Ref<CVPixelBuffer> CMIOOutputViewController::copyFramePixelBufferWithPresentationTime(const CMTime& presentationTime)
{
    auto frame = outputPixelBufferRetainedCopy();
    if (CFRequiredTypeOf(frame, CVPixelBufferGetTypeID(), "outputPixelBufferRetainedCopy"))
        return frame;
    return _renderer ? _renderer->copyFrameWithPresentationTimeStamp(presentationTime) : nullptr;
}

void CMIOOutputViewController::deviceConnectionTimerConnect(ZVCMIODeviceConnectionController* /*connection*/)
{
    const auto camera = outletCameraDeviceController.strongReference();
    if (!camera || !camera->deviceConnected())
        return;
    setStatusValue_forKey(CFSTR("Connected"), statusKey);
    setStatusValue_forKey(camera->cameraDeviceName(), deviceNameKey);
}

void CMIOOutputViewController::setStatusValue_forKey(CFType* value, CFType* key)
{
    if (!kindOf<NSString>(value) || !kindOf<NSString>(key))
        return;
    try {
        _statusDictionary->set(key, value);
        _reloadStatusDictionaryTableViewContents();
    } catch (const NSException&) { // the table then keeps what it showed
    }
}

void CMIOOutputViewController::_reloadStatusDictionaryTableViewContents()
{
    dispatch_async(dispatch_get_main_queue(), [weakSelf = WeakRef(this)] {
        const auto self = weakSelf.strongReference();
        const auto table = self ? self->outletTableView.strongReference() : nullptr;
        if (!table)
            return;
        table->reloadData();
        table->setNeedsDisplay(true);
    });
}

void CMIOOutputViewController::systemExtension_requestStatus(
    ZVCMIOSystemExtensionController* /*extension*/, NSString* status)
{
    setStatusValue_forKey(status, statusKey);
}

void CMIOOutputViewController::systemExtension_requestError(
    ZVCMIOSystemExtensionController* /*extension*/, NSError* error)
{
    auto* const userInfo = error ? error->userInfo() : nullptr;
    if (userInfo)
        setStatusValue_forKey(userInfo->objectForKey(NSLocalizedDescriptionKey), errorKey);
}

std::vector<Ref<CFString>> CMIOOutputViewController::allKeysSorted() const
{
    std::vector<Ref<CFString>> keys;
    for (const auto& [key, value] : _statusDictionary->entries()) {
        if (auto* const string = kindOf<CFString>(key))
            keys.emplace_back(string);
    }
    std::ranges::sort(keys, {}, [](const Ref<CFString>& key) -> const std::string& { return key->string(); });
    return keys;
}

long CMIOOutputViewController::numberOfRowsInTableView(NSTableView* /*tableView*/)
{
    return static_cast<long>(_statusDictionary->count());
}

CFType* CMIOOutputViewController::tableView_objectValueForTableColumn_row(
    NSTableView* /*tableView*/, NSTableColumn* /*column*/, long row)
{
    const auto keys = allKeysSorted();
    if (!CFRequired(!keys.empty(), "allKeysSorted.count>0"))
        return CFSTR("");
    const auto tableViewRow = static_cast<std::size_t>(row);
    if (!CFRequired(tableViewRow < keys.size(), "tableViewRow<allKeysSorted.count"))
        return CFSTR("");
    auto* const value = _statusDictionary->objectForKey(keys[tableViewRow]);
    return isPresent(value) ? autorelease(CFString::create(value->description())) : CFSTR("");
}
