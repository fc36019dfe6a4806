// A clang plug-in for scripts/tidy: shows the checks the declarations of the project alone. Without it clang-tidy looks
// at all of the headers of Qt, the standard library and the others too, only to drop what it finds there, which takes
// ten times as long.

#include <clang/AST/ASTConsumer.h>
#include <clang/AST/ASTContext.h>
#include <clang/Frontend/CompilerInstance.h>
#include <clang/Frontend/FrontendAction.h>
#include <clang/Frontend/FrontendPluginRegistry.h>

#include <memory>
#include <string>
#include <vector>

namespace {

class Narrow : public clang::ASTConsumer {
public:
    bool HandleTopLevelDecl(clang::DeclGroupRef group) override {
        for (clang::Decl* declaration : group) {
            const clang::SourceManager& sources = declaration->getASTContext().getSourceManager();
            if (!sources.isInSystemHeader(sources.getExpansionLoc(declaration->getLocation())))
                ours_.push_back(declaration);
        }
        return true;
    }

    void HandleTranslationUnit(clang::ASTContext& context) override { context.setTraversalScope(ours_); }

private:
    std::vector<clang::Decl*> ours_;
};

class NarrowAction : public clang::PluginASTAction {
public:
    bool ParseArgs(const clang::CompilerInstance& /*compiler*/,
                   const std::vector<std::string>& /*arguments*/) override {
        return true;
    }

    std::unique_ptr<clang::ASTConsumer> CreateASTConsumer(clang::CompilerInstance& /*compiler*/,
                                                          llvm::StringRef /*file*/) override {
        return std::make_unique<Narrow>();
    }

    ActionType getActionType() override { return AddBeforeMainAction; }
};

const clang::FrontendPluginRegistry::Add<NarrowAction> registration("tidyscope", "checks the project's own code");

} // namespace
