#pragma once

// All kinds of queues.
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchMainQueue.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureFileReadingQueue.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureFileWritingQueue.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureRenderingQueue.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCapturingQueue.h"
