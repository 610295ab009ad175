#include "Platform/AppKit/NSNib.h"

#include "Platform/Foundation/NSLog.h"

namespace {

NSNib::Loader& loader()
{
    static NSNib::Loader loader;
    return loader;
}

}

void NSNib::setLoader(Loader newLoader)
{
    loader() = std::move(newLoader);
}

bool NSNib::loadNibNamed_owner(CFString* name, NSObject* owner)
{
    const auto problem
        = loader() ? loader()(textOf(name), owner) : std::optional<std::string>("nobody loads interface files here");
    if (problem)
        NSLog(CFSTR("The interface file %@ could not be loaded: %s"), name, problem->c_str());
    return !problem;
}
