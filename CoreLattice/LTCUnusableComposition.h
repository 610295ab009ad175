#pragma once

#include "Platform/Foundation/NSObject.h"

/// A composition's file that cannot be used, and why. Unchanging; any thread may read it.
class LTCUnusableComposition : public NSObject {
    NS_OBJECT(LTCUnusableComposition)
public:
    /// \param name  of the composition, as the repository would have it
    /// \param file  the path of the file with the fault, which may be the vertex shader's
    /// \param line  of the fault, from 1; 0 when it has none
    LTCUnusableComposition(Ref<CFString> name, Ref<CFString> file, int line, Ref<CFString> message);

    CFString* name() const { return mName; }
    CFString* file() const { return mFile; }
    int line() const { return mLine; }
    CFString* message() const { return mMessage; }
    /// File name, line where there is one, and message in one text that people read.
    CFString* reason() const { return mReason; }

    /// Of two for the same fault of the same file.
    bool isEqual(CFType* other) override;
    CFHashCode hash() override { return mFile->hash(); }
    std::string description() override;

private:
    const Ref<CFString> mName;
    const Ref<CFString> mFile;
    const int mLine;
    const Ref<CFString> mMessage;
    const Ref<CFString> mReason;
};
