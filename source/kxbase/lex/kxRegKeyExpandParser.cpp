#include "kxbase/lex/kxRegKeyExpandParser.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/platform/kxPlatformEnvironment.h"

namespace {

constexpr std::string_view kGrammar = "regkey\t\t::=\t'$(' $ [^)]* fRegKey ')' ;\t\t\t\t"
                                      "iface\t\t::=\t'${' $ [^}]* fIFace '}' ;\t\t\t\t"
                                      "string\t\t::=\t$ ( [^] - ( '$(' | '${' ) )+ fString;\t\t"
                                      "compressed\t::=\t(string|regkey|iface)* ;\t\t\t\t";

}  // namespace

kxRegKeyExpandParser::kxRegKeyExpandParser()
{
    lex_.addRules(kGrammar);
    addReference("fRegKey", "$(", ")", &kxRegKeyExpandParser::findSetting);
    addReference("fIFace", "${", "}", &kxRegKeyExpandParser::findInterface);
    lex_.addAction("fString", [this](kxLexCapture& capture) {
        out_ += capture.view(0);
        return KX_LEX_OK;
    });
}

void kxRegKeyExpandParser::addReference(std::string_view action, std::string_view opening,
                                        std::string_view closing, Find find)
{
    lex_.addAction(action, [this, opening, closing, find](kxLexCapture& capture) {
        const kxString name = capture.get(0);
        if (const std::optional<kxString> value = (this->*find)(name))
            out_ += value->view();
        else
            out_.append(opening).append(name.view()).append(closing);
        return out_.size() > KX_STRING_MAX_LENGTH ? KX_LEX_ERROR : KX_LEX_OK;
    });
}

bool kxRegKeyExpandParser::expand(const kxString& text, kxString& expanded)
{
    out_.clear();
    const bool matches = lex_.runText("compressed", text);
    error_ = lex_.getError();
    if (out_.size() > KX_STRING_MAX_LENGTH) error_ = kxTranslate("Too many characters in kxString");
    const bool isExpanded = matches && error_.isEmpty();
    expanded = isExpanded ? kxString(out_) : kxString();
    return isExpanded;
}

std::optional<kxString> kxRegKeyExpandParser::findSetting(const kxString& name)
{
    const char* const value = kxPlatformEnvironment(name.text());
    return value != nullptr ? std::optional<kxString>(value) : std::nullopt;
}

std::optional<kxString> kxRegKeyExpandParser::findInterface(const kxString&)
{
    return std::nullopt;
}
