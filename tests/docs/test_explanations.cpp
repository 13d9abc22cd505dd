// What the log's lines mean, against what the sources have to say in the log, and against the guide.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "base/modText.h"
#include "flows/Explanations.h"

namespace fs = std::filesystem;

namespace {

std::string ContentOf(const fs::path& file) {
    std::ostringstream content;
    content << std::ifstream(file).rdbuf();
    return content.str();
}

/// Every message that the sources can put into the log: the arguments of the calls that do, a number for what
/// is known only when the program runs. `Open` are arguments without any text of their own.
struct Messages {
    Messages() {
        for (const auto& file : fs::recursive_directory_iterator(ZARN74_SOURCE_FOLDER))
            if ((file.path().extension() == ".cpp" || file.path().extension() == ".h") &&
                file.path().stem() != "Explanations")
                Scan(ContentOf(file.path()));
    }
    void Scan(const std::string& source) {
        std::map<std::string, std::string> constants;
        static const std::regex constant(R"(const char\* (\w+) =\s*("[^"]*\"))");
        for (std::sregex_iterator at(source.begin(), source.end(), constant), end; at != end; ++at)
            constants[(*at)[1]] = (*at)[2];
        // The texts of flows that write, a block of constants; the messages of lists.
        static const std::regex texts(R"((WriteTexts::\w+\{)([^}]*)\})");
        for (std::sregex_iterator at(source.begin(), source.end(), texts), end; at != end; ++at)
            AddLiterals((*at)[2]);
        static const std::regex notFound(R"("([^"]* not found!)\")");
        for (std::sregex_iterator at(source.begin(), source.end(), notFound), end; at != end; ++at)
            Said.insert((*at)[1]);
        static const std::regex change(R"(\bwhat = "([^"]*)\")");  // of a port
        if (source.find("OnPort.Raise") != source.npos)
            for (std::sregex_iterator at(source.begin(), source.end(), change), end; at != end; ++at)
                Said.insert("COM7" + (*at)[1].str());
        static const std::regex logged(R"(Logged\("([^"]*)\")");
        for (std::sregex_iterator at(source.begin(), source.end(), logged), end; at != end; ++at)
            for (const char* result : {" OK", " NG"}) Said.insert((*at)[1].str() + result);
        static const std::regex call(
            R"([^:\w](ShowMsg|OnError\.Raise|OnScan\.Raise|RaiseOnPort|ShowLine)\(((?:[^;"]|"[^"]*")*?)\);)");
        for (std::sregex_iterator at(source.begin(), source.end(), call), end; at != end; ++at) {
            std::string argument = (*at)[2];
            const std::string which = (*at)[1];
            if (argument.find("const ") != argument.npos) continue;  // a declaration
            if (which == "RaiseOnPort" || which == "ShowLine") argument.erase(0, argument.find(',') + 1);
            for (const auto& [name, value] : constants)
                argument = std::regex_replace(
                    argument, std::regex(std::string("\\b").append(name).append("\\b")), value);
            for (const std::string& text : Expanded(argument)) {
                const std::string message = Joined(text);
                if (which == "ShowLine") {
                    Said.insert("Step 7.77 - " + message);
                } else if (message == "7" || message == "7 OK" || message == "7 NG" ||
                           message == "Step 7.7 - 7") {
                    Open.insert(modText::Trim(argument));
                } else {
                    Said.insert(message);
                    if (which == "OnError.Raise") Errors.insert(message);
                }
            }
        }
    }
    void AddLiterals(const std::string& text) {
        static const std::regex literal(R"("([^"]*)\")");
        for (std::sregex_iterator at(text.begin(), text.end(), literal), end; at != end; ++at)
            Said.insert((*at)[1]);
    }
    /// The expression once for each way through its choices between two texts.
    static std::set<std::string> Expanded(const std::string& argument) {
        static const std::regex choice(
            R"(\(?[\w\.\s\(\)!&>=]*\? *("[^"]*"|[\w\.]+)\s*: *("[^"]*"|[\w\.]+)\)?)");
        std::smatch found;
        if (!std::regex_search(argument, found, choice)) return {argument};
        std::set<std::string> all;
        for (const std::size_t way : {1U, 2U})
            all.merge(Expanded(found.prefix().str() + found[way].str() + found.suffix().str()));
        return all;
    }
    /// Literals as they are, one 7 for each run of anything else.
    static std::string Joined(const std::string& expression) {
        std::string text;
        bool open = false;
        for (std::size_t at = 0; at < expression.size(); ++at) {
            if (expression[at] == '"') {
                const auto end = expression.find('"', at + 1);
                text += expression.substr(at + 1, end - at - 1);
                at = end;
                open = false;
            } else if (!open && std::isalnum(static_cast<unsigned char>(expression[at])) != 0) {
                text += '7';
                open = true;
            } else if (expression[at] == '+') {
                open = false;
            }
        }
        return text;
    }
    std::set<std::string> Said, Errors, Open;
};

TEST(Explanations, EveryMessageOfTheSourcesHasARowAndEveryFailureHasSteps) {
    const Messages messages;
    EXPECT_GT(messages.Said.size(), 55U);
    for (const std::string& message : messages.Said) {
        const Explanation* const row = Explanations::Of(message);
        ASSERT_NE(row, nullptr) << message;
        const bool fails = messages.Errors.count(message) != 0 || message.ends_with(" NG") ||
                           message.ends_with(" NG!") || message.ends_with("not found!");
        EXPECT_TRUE(row->Failure() || !fails) << message;
        EXPECT_FALSE(row->Failure() && modText::ContainsNoCase(message, " OK")) << message;
    }
    // Messages that come from elsewhere: the control's events, raised in its own sources; constants, found
    // above; and the hands that the others go through. Another one has to be looked at.
    const std::set<std::string> known{
        "message", "written ? writeOK : writeNG", R"(std::string(operation) + (done ? " OK" : " NG"))",
        R"("Step " + std::to_string(hundredths / 100) + "." + digits + " - " + text)"};
    for (const std::string& open : messages.Open)
        EXPECT_TRUE(known.count(open) != 0 || modText::Like(open, "*texts.*") ||
                    modText::Like(open, "*WriteTexts::*") || modText::Like(open, "PortChange::*"))
            << open;
}

TEST(Explanations, NoRowIsInTheShadeOfAnEarlierOneAndNoStepIsEmpty) {
    for (const Explanation& row : Explanations::Rows()) {
        for (const std::string& pattern : modText::Split(row.Patterns, '|')) {
            std::string sample;
            for (const char c : pattern) sample += c == '*' ? std::string("12") : std::string(1, c);
            EXPECT_EQ(Explanations::Of(sample), &row) << pattern;
            EXPECT_EQ(Explanations::OfLine("12:34:56 - " + sample), row.Failure() ? &row : nullptr);
            EXPECT_EQ(Explanations::OfLine(sample), nullptr) << "no line of the log without its time";
        }
        for (std::size_t i = 1; i < row.Steps.size(); ++i)
            EXPECT_TRUE(row.Steps[i] == nullptr || row.Steps[i - 1]);
    }
}

// A reply that is neither yes nor no is none; whoever asked gave the same reply as its error.
TEST(Explanations, OnlyARefusalIsCalledOne) {
    const std::string reading = "GetRegister - Reg=5, Err=";
    EXPECT_NE(Explanations::Of(reading), Explanations::Of(reading + "N05"));
    for (const char* reply : {"X", "41", "ZARN74", "\x80"})
        EXPECT_EQ(Explanations::Of(reading), Explanations::Of(reading + reply)) << reply;
}

TEST(Explanations, TheGuideHasTheTable) {
    const std::string guide = ContentOf(fs::path(ZARN74_DOCS_FOLDER) / "USER_GUIDE.md");
    EXPECT_NE(guide.find(Explanations::GuideTable()), guide.npos) << "It has to hold:\n"
                                                                  << Explanations::GuideTable();
}

}  // namespace
