// What the tool tells about itself.
#include "help.h"

#include <algorithm>

#include "options/options.h"
#include "tnx_c_ext.h"

namespace TnxTool
{

namespace
{

constexpr size_t HELP_COLUMN = 26;

std::string OptionLine(const Option &option)
{
    std::string line = option.letter != 0 ? std::string(" -") + option.letter + ", " : "     ";
    line += std::string("--") + option.name;
    if (option.appendix != nullptr) {
        line += std::string("[=") + option.appendix + "]";
    }
    if (option.argument != nullptr) {
        line += std::string(" <") + option.argument + ">";
    }
    line.append(line.size() < HELP_COLUMN ? HELP_COLUMN - line.size() : 1, ' ');
    return line + " " + option.help + "\n";
}

std::string TopicLines()
{
    std::string lines;
    for (const TopicName &topic : Topics()) {
        std::string line = std::string(" ") + topic.name;
        line.resize(14, ' ');
        lines += line + topic.help + "\n";
    }
    return lines;
}

template <class Wanted> std::string OptionLines(Wanted wanted)
{
    std::string lines;
    for (const Option &option : Options()) {
        if (wanted(option)) {
            lines += OptionLine(option);
        }
    }
    return lines;
}

} // namespace

std::string HelpText(const std::string &topic)
{
    const std::string usage = "Usage: tnx [options...] <url>...\n";
    if (topic.empty()) {
        return usage + OptionLines([](const Option &option) { return option.important; }) +
               "\nThis is not all: -h <topic> shows a topic, -h all every option. The topics:\n" +
               TopicLines();
    }
    if (topic == "all") {
        return usage + OptionLines([](const Option &) { return true; });
    }
    if (topic == "topics" || topic == "category") {
        return TopicLines();
    }
    const auto topics = Topics();
    const auto found = std::find_if(topics.begin(), topics.end(),
                                    [&](const TopicName &name) { return topic == name.name; });
    if (found == topics.end()) {
        throw UsageError("option -h: no topic '" + topic + "'; -h topics lists them");
    }
    return std::string(found->help) + "\n" +
           OptionLines([&](const Option &option) { return option.topic == found->topic; });
}

std::string VersionText()
{
    return "tnx " TNX_TOOL_VERSION "\n" + std::string(OVX_Tnx_GetVersion()) + "\n";
}

} // namespace TnxTool
