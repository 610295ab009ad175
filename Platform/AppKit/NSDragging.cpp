#include "Platform/AppKit/NSDragging.h"

NS_IMPLEMENTATION(NSDraggingInfo, NSObject)
{
    type.key("draggedFileURLs", &NSDraggingInfo::draggedFileURLs);
}

NSDraggingInfo::NSDraggingInfo(Ref<CFArray> files)
    : mFiles(std::move(files))
{
}
