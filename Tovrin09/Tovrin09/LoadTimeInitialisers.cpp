#include "WithRequirements/LoadTimeInitialisers.h"

#include "Tovrin09/LTCCamWindow/LTCCamWindowController.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCameraSessionController.h"

namespace {

/// What must have run before `main`, in its order: the checks and their log, then what the capture layer starts with.
struct LoadTimeInitialisers {
    LoadTimeInitialisers()
    {
        WithRequirementsRunLoadTimeInitialisers();
        LTCCamWindowController_CaptureDefaultsConstructor();
        AVCameraSessionController_NoCameraDeviceNameConstructor();
    }
} const loadTimeInitialisers;

}
