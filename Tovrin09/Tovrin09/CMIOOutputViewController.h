#pragma once

#include "Platform/AppKit/NSTableView.h"
#include "Platform/AppKit/NSViewController.h"
#include "Platform/Foundation/NSNotification.h"
#include "Tovrin09/AVCapturePixelsView/AVCapturePixelBufferView.h"
#include "WithRequirements/ReferenceProperty.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientDeviceController.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIODeviceConnectionController.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOSystemExtensionControllerDelegate.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOPixelBufferRenderer.h"

/// Where finished frames and the virtual camera meet: keeps the latest frame, shows it in the output window, gives it
/// to the camera when asked, and keeps the window's status table.
class CMIOOutputViewController : public NSViewController,
                                 public ZVCMIOClientDeviceControllerDelegate,
                                 public ZVCMIODeviceConnectionControllerDelegate,
                                 public ZVCMIOSystemExtensionControllerDelegate,
                                 public NSTableViewDelegate,
                                 public NSTableViewDataSource {
    NS_OBJECT(CMIOOutputViewController)
public:
    CMIOOutputViewController();
    ~CMIOOutputViewController() override;

    static void initialize();

    CFString* outputPixelBufferSync() const { return _outputPixelBuffer.sync(); }
    CVPixelBufferRef outputPixelBuffer() const { return _outputPixelBuffer.get(); }
    CVPixelBufferRef outputPixelBufferAutoreleasedCopy() const { return _outputPixelBuffer.autoreleasedCopy(); }
    Ref<CVPixelBuffer> outputPixelBufferRetainedCopy() const { return _outputPixelBuffer.retainedCopy(); }
    Ref<CVPixelBuffer> outputPixelBufferCopy() const { return _outputPixelBuffer.copy(); }
    /// Keeps the frame and shows it. On the video queue.
    void setOutputPixelBuffer(CVPixelBufferRef pixelBuffer);
    void outputPixelBufferChanged();

    Ref<CVPixelBuffer> copyFramePixelBufferWithPresentationTime(const CMTime& presentationTime) override;
    void deviceConnectionTimerConnect(ZVCMIODeviceConnectionController* connection) override;
    void systemExtension_requestStatus(ZVCMIOSystemExtensionController* extension, NSString* status) override;
    void systemExtension_requestError(ZVCMIOSystemExtensionController* extension, NSError* error) override;
    void applicationWillFinishLaunching(NSNotification* notification);
    void applicationDidFinishLaunching(NSNotification* notification);
    /// Ignored unless both are texts. Any thread.
    void setStatusValue_forKey(CFType* value, CFType* key);
    void _reloadStatusDictionaryTableViewContents();
    long numberOfRowsInTableView(NSTableView* tableView) override;
    CFType* tableView_objectValueForTableColumn_row(NSTableView* tableView, NSTableColumn* column, long row) override;

    ZVCMIOPixelBufferRenderer* renderer() const { return _renderer; }
    NSMutableDictionary* statusDictionary() const { return _statusDictionary; }

    WeakRef<ZVCMIODeviceConnectionController> outletDeviceConnectionController;
    WeakRef<ZVCMIOClientDeviceController> outletCameraDeviceController;
    WeakRef<AVCapturePixelBufferView> outletPixelsView;
    WeakRef<NSTableView> outletTableView;

private:
    void _initCommon();
    std::vector<Ref<CFString>> allKeysSorted() const;

    ReferenceProperty<CVPixelBuffer> _outputPixelBuffer { "outputPixelBuffer" };
    Ref<ZVCMIOPixelBufferRenderer> _renderer;
    Ref<NSMutableDictionary> _statusDictionary;
};
