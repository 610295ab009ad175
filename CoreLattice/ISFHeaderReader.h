#pragma once

#include "CoreLattice/ISFDocument.h"
#include "CoreLattice/ISFHeaderText.h"

namespace CoreLattice {

/// Reads the JSON header of a file in the Interactive Shader Format into a document.
class ISFHeaderReader {
public:
    /// \param header  found; outlives the reader
    explicit ISFHeaderReader(const ISFHeaderText& header)
        : mHeader(header)
    {
    }
    /// Fills all that the header says. False when the header cannot be used; then `line` and `message` say
    /// why.
    bool read(ISFDocument& document);
    int line() const noexcept { return mLine; }
    const std::string& message() const noexcept { return mMessage; }

private:
    struct Json;
    bool fail(std::string message);
    void readTexts(const Json& header, ISFDocument& document);
    bool readInputs(const Json& header, ISFDocument& document);
    bool readInput(const Json& entry, ISFInput& input);
    bool readType(const Json& entry, ISFInput& input);
    bool readMenu(const Json& entry, ISFInput& input);
    void readMenuBounds(ISFInput& input);
    void readMenuDefault(const Json& entry, ISFInput& input);
    bool readPasses(const Json& header, ISFDocument& document);
    bool readPass(const Json& entry, ISFPass& pass);
    bool readSize(const Json& entry, const char* key, ISFExpression& size);
    bool readPersistentBuffers(const Json& header, ISFDocument& document);
    bool readImports(const Json& header, ISFDocument& document);
    bool readImport(const Json& entry, ISFImport& import);
    bool checkNames(const ISFDocument& document);

    const ISFHeaderText& mHeader;
    int mLine = 0;
    std::string mMessage;
};

}
