#include "kxbase/lex/kxArgumentParser.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/lex/kxWordSplitter.h"
#include "kxbase/serialize/kxErrorText.h"

#include <cstdlib>
#include <utility>

namespace {

constexpr int kExitStatus = 99;

// The words with a blank behind each.
kxString joined(std::int32_t count, const char* const* words)
{
    std::string line;
    for (std::int32_t index = 0; index < count; ++index) line.append(words[index]).append(1, ' ');
    kxString::requireLength(line.size());
    return kxString(line);
}

// A word is an option when something follows the prefix that is no number, or the number zero.
bool isOption(const kxString& word, const kxString& prefix)
{
    if (word.length() <= prefix.length() || !word.startsWith(prefix)) return false;
    return word.substring(prefix.length(), word.length()).toDouble() == 0.0;
}

}  // namespace

// The first option of a name with its number of values; `option` is null when there is none.
struct kxArgumentParser::Found {
    const kxArgOption* option;
    std::uint32_t valueCount;
};

kxArgumentParser::kxArgumentParser(std::int32_t argumentCount, const char* const* arguments,
                                   const kxString& prefix)
{
    options_.setReuse(true);
    arguments_.setReuse(true);
    setArguments(joined(argumentCount, arguments), prefix);
}

kxArgumentParser::~kxArgumentParser() = default;

void kxArgumentParser::setArguments(kxString commandLine, const kxString prefix)
{
    errorText_ = kxString();
    options_.clear();
    arguments_.clear();
    argumentString_ = std::move(commandLine);
    kxWordSplitter splitter(argumentString_);
    for (std::string word; splitter.next(word);) record(kxString(word), prefix);
}

void kxArgumentParser::record(const kxString& word, const kxString& prefix)
{
    if (isOption(word, prefix)) {
        const kxString name = word.substring(prefix.length(), word.length());
        options_.append(new kxArgOption(name, arguments_.count()));
    } else {
        arguments_.append(new kxArgArgument(word));
    }
}

kxArgumentParser::Found kxArgumentParser::findOption(const kxString& name, bool caseSensitive) const
{
    const kxArgOption* found = nullptr;
    for (const kxArgOption* option : options_) {
        if (found != nullptr) return {found, option->getStartIndex() - found->getStartIndex()};
        const bool matches =
            caseSensitive ? option->getName() == name : option->getName().equalsIgnoreCase(name);
        if (matches) found = option;
    }
    return {found, found != nullptr ? arguments_.count() - found->getStartIndex() : 0};
}

kxString kxArgumentParser::getOptionValue(const kxString& name, const kxString& defaultValue,
                                          std::uint32_t argumentNumber, bool useDefaultIfMissing,
                                          bool caseSensitive)
{
    const Found found = findOption(name, caseSensitive);
    if (found.option == nullptr) return defaultValue;
    if (argumentNumber < found.valueCount) {
        kxArgArgument* const argument = arguments_.at(found.option->getStartIndex() + argumentNumber);
        argument->setUsed();
        return argument->getValue();
    }
    if (useDefaultIfMissing) return defaultValue;
    errorText_ = kxErrorText("Missing argument %d for option '-%s'", argumentNumber, name);
    reportError();
    return {};
}

bool kxArgumentParser::hasOption(const kxString& name, bool caseSensitive, std::uint32_t* startIndex,
                                 std::uint32_t* valueCount) const
{
    const Found found = findOption(name, caseSensitive);
    if (found.option == nullptr) return false;
    if (startIndex != nullptr) *startIndex = found.option->getStartIndex();
    if (valueCount != nullptr) *valueCount = found.valueCount;
    return true;
}

void kxArgumentParser::reportError() const
{
    if (!exitOnError_) return;
    if (!syntaxText_.isEmpty() && arguments_.count() != 0) {
        kxMessage(KX_MESSAGE_WARNING, " Syntax: %s %s", arguments_.at(0)->getValue(), syntaxText_);
    } else if (!syntaxText_.isEmpty()) {
        kxMessage(KX_MESSAGE_WARNING, " Syntax: %s", syntaxText_);
    }
    kxMessage(KX_MESSAGE_WARNING, "Error:%s", errorText_);
    std::exit(kExitStatus);
}
