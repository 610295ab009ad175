#pragma once

#include "CoreLattice/ISFDocument.h"

namespace CoreLattice {

/// Reads the JSON header of a file in the Interactive Shader Format into a document.
class ISFHeaderReader {
public:
    /// \param firstLine  the line of the file on which \p header begins
    ISFHeaderReader(std::string_view header, int firstLine)
        : mHeader(header)
        , mFirstLine(firstLine)
    {
    }
    /// Fills name, explanation, inputs and passes. False when the header cannot be used; then `line` and `message` say
    /// why.
    bool read(ISFDocument& document);
    int line() const noexcept { return mLine; }
    const std::string& message() const noexcept { return mMessage; }

private:
    struct Json;
    bool fail(std::string message);
    bool readInputs(const Json& header, ISFDocument& document);
    bool readInput(const Json& entry, ISFInput& input);
    bool readType(const Json& entry, ISFInput& input);
    bool readMenu(const Json& entry, ISFInput& input);
    bool readPasses(const Json& header, ISFDocument& document);
    bool readPass(const Json& entry, ISFPass& pass);
    bool readSize(const Json& entry, const char* key, ISFExpression& size);
    bool readPersistentBuffers(const Json& header, ISFDocument& document);
    bool checkNames(const ISFDocument& document);

    std::string_view mHeader;
    int mFirstLine;
    int mLine = 0;
    std::string mMessage;
};

}
