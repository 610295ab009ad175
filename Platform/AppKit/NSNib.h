#pragma once

#include "Platform/CoreFoundation/CFString.h"

#include <functional>
#include <optional>

class NSObject;

/// Loading of interface files, which somebody who knows their format takes over.
namespace NSNib {

/// \return nothing when all went well, else what is wrong with the file, with file and line
using Loader = std::function<std::optional<std::string>(std::string_view name, NSObject* owner)>;

void setLoader(Loader loader);
/// Makes the objects of the interface file \p name, connects them with each other and with \p owner, and sends each
/// `awakeFromNib`. Main thread. The objects live until the process ends.
/// \return whether it was loaded; what was wrong is logged
bool loadNibNamed_owner(CFString* name, NSObject* owner);

}
