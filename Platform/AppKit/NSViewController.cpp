#include "Platform/AppKit/NSViewController.h"

NS_IMPLEMENTATION(NSViewController, NSObject)
{
    type.outlet("view", &NSViewController::mView);
}
