#include "vorta/yamldocument/onlydocument.h"

#include <sstream>
#include <yaml-cpp/eventhandler.h>

namespace Vorta {

namespace {

/// Steps over a document.
class SkipEvents : public YAML::EventHandler {
    void OnDocumentStart(const YAML::Mark& /*mark*/) override {}
    void OnDocumentEnd() override {}
    void OnNull(const YAML::Mark& /*mark*/, YAML::anchor_t /*anchor*/) override {}
    void OnAlias(const YAML::Mark& /*mark*/, YAML::anchor_t /*anchor*/) override {}
    void OnScalar(const YAML::Mark& /*mark*/, const std::string& /*tag*/, YAML::anchor_t /*anchor*/,
                  const std::string& /*value*/) override {}
    void OnSequenceStart(const YAML::Mark& /*mark*/, const std::string& /*tag*/, YAML::anchor_t /*anchor*/,
                         YAML::EmitterStyle::value /*style*/) override {}
    void OnSequenceEnd() override {}
    void OnMapStart(const YAML::Mark& /*mark*/, const std::string& /*tag*/, YAML::anchor_t /*anchor*/,
                    YAML::EmitterStyle::value /*style*/) override {}
    void OnMapEnd() override {}
};

} // namespace

std::optional<YAML::Node> onlyDocument(std::string text) {
    // Without an end of the document the parser takes the end of the text for the end of an open quote.
    text += text.ends_with('\n') ? "...\n" : "\n...\n";
    const YAML::Node document = YAML::Load(text);
    // Loading all documents at once never ends when one begins with a comma.
    std::istringstream stream(text);
    YAML::Parser parser(stream);
    SkipEvents skip;
    parser.HandleNextDocument(skip);
    if (!document.IsNull() && parser)
        return std::nullopt;
    return document;
}

} // namespace Vorta
