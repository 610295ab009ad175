#include "CoreLattice/LTCUnusableComposition.h"

#include "Platform/Foundation/NSPathUtilities.h"

NS_IMPLEMENTATION(LTCUnusableComposition, NSObject) { }

LTCUnusableComposition::LTCUnusableComposition(Ref<CFString> name, Ref<CFString> file, int line, Ref<CFString> message)
    : mName(std::move(name))
    , mFile(std::move(file))
    , mLine(line)
    , mMessage(std::move(message))
    , mReason(CFString::create(lastPathComponent(mFile)->string() + (line > 0 ? ":" + std::to_string(line) : "") + ": "
          + mMessage->string()))
{
}

bool LTCUnusableComposition::isEqual(CFType* other)
{
    const auto* const another = kindOf<LTCUnusableComposition>(other);
    return another && another->mLine == mLine && CFEqual(another->mFile, mFile) && CFEqual(another->mName, mName)
        && CFEqual(another->mMessage, mMessage);
}

std::string LTCUnusableComposition::description()
{
    return "<LTCUnusableComposition " + mReason->string() + ">";
}
