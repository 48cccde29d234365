#include "kxbase/lex/kxArgumentParser.h"

#include "kxbase/core/kxFatalError.h"
#include "support/kxTest.h"

#include <unistd.h>

namespace {

using Words = std::vector<std::string>;

// Each argument in angles, and then each option as "-name@start+count of its values".
std::string shown(const kxArgumentParser& parser)
{
    std::string text;
    for (const auto* argument : parser.getArguments())
        text += kxString::format("<%s>", argument->getValue()).view();
    for (const auto* option : parser.getOptions()) {
        std::uint32_t start = 0, count = 0;
        parser.hasOption(option->getName(), true, &start, &count);
        text += kxString::format(" -%s@%u+%u", option->getName(), start, count).view();
    }
    return text;
}

kxArgumentParser parserOf(const Words& words)
{
    std::vector<const char*> pointers;
    for (const std::string& word : words) pointers.push_back(word.c_str());
    return kxArgumentParser(static_cast<std::int32_t>(words.size()), pointers.data());
}

}  // namespace

TEST(kxArgumentParser, CutsACommandLineIntoOptionsAndArguments)
{
    const kxTestRow rows[] = {
        {"nothing", "", ""},
        {"values run up to the next option", "prog -URL tcp::1 extra -ping",
         "<prog><tcp::1><extra> -URL@1+2 -ping@3+0"},
        {"any white space separates", "a\t-b\r\n c", "<a><c> -b@1+1"},
        {"a negative number is a value", "p -n -5 -2.5 -3e2", "<p><-5><-2.5><-3e2> -n@1+3"},
        {"zero is an option", "p -0 x -0.0", "<p><x> -0@1+1 -0.0@2+0"},
        {"no numbers", "p -inf -nan -0x10 -.5", "<p> -inf@1+0 -nan@1+0 -0x10@1+0 -.5@1+0"},
        {"the prefix alone", "p - -a", "<p><-> -a@2+0"},
        {"quotes keep white space", "p -o 'a b' \"c  d\"", "<p><a b><c  d> -o@1+2"},
        {"pieces that touch are glued", "a'b c'd\"e f\"", "<ab cde f>"},
        {"all quotes at both ends go", "''x'' \"\"\"y\"\"\"", "<x><y>"},
        {"the other kind stays", "'\"x\"' \"it's\"", "<\"x\"><it's>"},
        {"a quote without partner is ordinary", "it's 'here", "<its here>"},
        {"nothing but quotes is no word", "'' \"\" x", "<x>"},
        {"a quoted option is one", "p '-a b'", "<p> -a b@1+0"},
    };
    kxExpectRows(rows, [](const kxTestRow& row) {
        kxArgumentParser parser(0, nullptr);
        parser.setArguments(kxString(row.text));
        return shown(parser);
    });
}

TEST(kxArgumentParser, JoinsTheWordsThatTheShellGaveIt)
{
    const kxArgumentParser parser = parserOf({"prog", "-output", "a b", "'c d'"});
    EXPECT_EQ(parser.getArgumentString(), "prog -output a b 'c d' ");
    EXPECT_EQ(shown(parser), "<prog><a><b><c d> -output@1+3");
    const kxArgumentParser none(-1, nullptr);
    EXPECT_TRUE(none.getArgumentString().isEmpty());
    EXPECT_EQ(none.getArguments().count(), 0U);
}

TEST(kxArgumentParser, FindsTheFirstOptionOfAName)
{
    kxArgumentParser parser = parserOf({"prog", "-url", "a", "b", "-URL", "c", "-ping"});
    EXPECT_EQ(parser.getOptionValue("URL", "x"), "a");
    EXPECT_EQ(parser.getOptionValue("URL", "x", 1), "b");
    EXPECT_EQ(parser.getOptionValue("URL", "x", 2), "x") << "the next option's value is not handed out";
    EXPECT_EQ(parser.getOptionValue("URL", "x", 0xFFFFFFFF), "x");
    EXPECT_EQ(parser.getOptionValue("URL", "x", 0, true, true), "c");
    EXPECT_EQ(parser.getOptionValue("ping", "x"), "x");
    EXPECT_EQ(parser.getOptionValue("none", "x", 0, false), "x") << "an unknown option is no error";

    Words used;
    for (const auto* argument : parser.getArguments()) used.push_back(argument->isUsed() ? "used" : "free");
    EXPECT_EQ(used, Words({"free", "used", "used", "used"}));

    std::uint32_t start = 77;
    std::uint32_t count = 77;
    EXPECT_FALSE(parser.hasOption("Ping", true, &start, &count));
    EXPECT_EQ(start + count, 154U) << "nothing is stored for an option that is not there";
    EXPECT_TRUE(parser.hasOption("Ping", false, &start, &count));
    EXPECT_EQ(start, 4U);
    EXPECT_EQ(count, 0U);
}

TEST(kxArgumentParser, ServesOtherPrefixesAndParsesAgain)
{
    kxArgumentParser parser(0, nullptr);
    parser.setArguments("p --x 1 -y --7", "--");
    EXPECT_EQ(shown(parser), "<p><1><-y><--7> -x@1+3");
    parser.setArguments("q");
    EXPECT_EQ(shown(parser), "<q>");
    parser.setArguments("'x y' +z", "+");
    parser.setArguments(parser.getArguments().at(0)->getValue(), parser.getOptions().at(0)->getName());
    EXPECT_EQ(shown(parser), "<x><y>") << "of its own texts";
    EXPECT_THROW(parserOf({std::string(65536, 'x')}), kxFatalError);
}

TEST(kxArgumentParser, AMissingValueIsTheDefaultOrAnError)
{
    const kxMessageRecorder messages;
    kxArgumentParser parser = parserOf({"prog", "-URL", "a"});
    parser.setExitOnError(false);
    EXPECT_EQ(parser.getOptionValue("url", "x", 1, false), "");
    EXPECT_EQ(parser.getErrorText(), "Missing argument 1 for option '-url'");
    EXPECT_TRUE(messages.entries().empty());
    parser.setArguments("prog");
    EXPECT_TRUE(parser.getErrorText().isEmpty());
}

TEST(kxArgumentParserDeathTest, AMissingValueEndsTheProcess)
{
    const auto ask = [](const char* line, const char* syntax) {
        kxMessageManager::instance().setSender("test");
        kxArgumentParser parser(0, nullptr);
        parser.setArguments(line);
        parser.setSyntaxText(syntax);
        ::dup2(2, 1);  // death tests look at standard error
        parser.getOptionValue("URL", "x", 1, false);
    };
    EXPECT_EXIT(ask("prog -URL a", "-URL <from> <to>"), testing::ExitedWithCode(99),
                "test Warning:: Syntax: prog -URL <from> <to>\n\rtest Warning::Error:Missing argument 1 for "
                "option '-URL'\n");
    EXPECT_EXIT(ask("-URL", "-URL <from>"), testing::ExitedWithCode(99), "Warning:: Syntax: -URL <from>\n");
    EXPECT_EXIT(ask("prog -URL a", ""), testing::ExitedWithCode(99), "^.test Warning::Error:Missing");
}
