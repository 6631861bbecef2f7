// The options that say what is asked for and what is sent.
#include "base/dates.h"
#include "base/values.h"
#include "options_table.h"

namespace TnxTool
{

namespace
{

// Pieces of -d and its family are joined as the fields of a form.
void AddData(Settings &settings, const std::string &piece)
{
    settings.data = settings.data ? *settings.data + "&" + piece : piece;
}

void AddCookies(Settings &settings, const std::string &value)
{
    if (value.find('=') != std::string::npos) {
        settings.cookies.push_back(value);
    } else if (settings.cookieFile && !settings.cookieFile->empty() && !value.empty()) {
        throw UsageError("one file of cookies is read, not '" + value + "' too");
    } else {
        settings.cookieFile = value;
    }
}

constexpr const char *DATA_MAN =
    "Send the data as the body of a POST, as a browser sends a form. Data that begins with @ names "
    "a file to read, @- standard input; line ends and NUL bytes of a file are left out. Several -d "
    "are joined with &.";

constexpr const char *FORM_MAN =
    "Send a multipart form (RFC 7578). The content is a text, @file to attach a file, or <file for "
    "the text of a file; - is standard input. ;type=TYPE and ;filename=NAME may follow. Fields are "
    "sent in byte order of their names, several of one name in the order given.";

constexpr const char *HEADER_MAN =
    "Send this header field, in place of one that the tool would send by itself. 'Name;' sends an "
    "empty value; 'Name:' sends none, also where the tool or the library would by itself. @file "
    "reads "
    "fields from a file, one a line. Fields are sent in no settled order.";

constexpr const char *RANGE_MAN =
    "Ask for a part of the body: 0-99, 100-, -500, or several with commas. A server that does not "
    "do ranges answers with the whole.";

const Option OPTIONS[] = {
    {.letter = 'X',
     .name = "request",
     .argument = "method",
     .topic = Topic::REQUEST,
     .help = "Use this method",
     .man = "Use this method instead of GET, or of POST where a body is sent. A GET or HEAD "
            "carries no body.",
     .target = &Settings::method,
     .important = true},
    {.name = "request-target",
     .argument = "target",
     .topic = Topic::REQUEST,
     .help = "Ask for this in place of the path",
     .man = "Ask for this target, '*' for instance, in place of the path and query of the URL.",
     .target = &Settings::requestTarget},
    {.name = "path-as-is",
     .topic = Topic::REQUEST,
     .help = "Leave dot segments in the path",
     .man = "Ask for the path and query as the URL has them, with the segments '.' and '..' in it.",
     .target = &Settings::pathAsIs},
    {.letter = 'H',
     .name = "header",
     .argument = "header/@file",
     .topic = Topic::REQUEST,
     .help = "Send this header field",
     .man = HEADER_MAN,
     .target = &Settings::headers,
     .important = true},
    {.letter = 'A',
     .name = "user-agent",
     .argument = "name",
     .topic = Topic::REQUEST,
     .help = "Send User-Agent <name>",
     .man = "Name the client so. An empty name sends no field.",
     .target = &Settings::userAgent,
     .important = true},
    {.letter = 'e',
     .name = "referer",
     .argument = "URL",
     .topic = Topic::REQUEST,
     .help = "Send the referring URL",
     .man = "Send the page that led here in the Referer field.",
     .target = &Settings::referer},
    {.letter = 'b',
     .name = "cookie",
     .argument = "name=value/file",
     .topic = Topic::REQUEST,
     .help = "Send these cookies",
     .man = "Send cookies, separated by semicolons. Without a =, keep the cookies that servers set "
            "for the rest of the run, and read a file of them first, if it is there; '' names no "
            "file.",
     .target = &AddCookies},
    {.letter = 'c',
     .name = "cookie-jar",
     .argument = "file",
     .topic = Topic::REQUEST,
     .help = "Write all cookies to a file at the end",
     .man =
         "Keep the cookies that servers set for the rest of the run, and write all at its end to "
         "a file that -b reads; - is standard output.",
     .target = &Settings::cookieJar},
    {.letter = 'j',
     .name = "junk-session-cookies",
     .topic = Topic::REQUEST,
     .help = "Read no session cookies",
     .man = "Leave out of the file of -b what lasts for a session only.",
     .target = &Settings::junkSessionCookies},
    {.letter = 'z',
     .name = "time-cond",
     .argument = "date/file",
     .topic = Topic::REQUEST,
     .help = "Fetch what is newer than this",
     .man = "Ask for the body only if it was changed after a date, or after the file of that name "
            "was; with - in front, only if it was not. A file of -o or -O stays as it is where the "
            "server says that there is nothing new.",
     .target =
         +[](Settings &s, const std::string &value) { s.timeCondition = TimeCondition(value); }},
    {.letter = 'G',
     .name = "get",
     .topic = Topic::REQUEST,
     .help = "Put the data in the URL and use GET",
     .man = "Append what -d and its family give to the URL as its query, and send no body.",
     .target = &Settings::get},
    {.letter = 'I',
     .name = "head",
     .topic = Topic::REQUEST,
     .help = "Show the header fields only",
     .man = "Use HEAD, and show what a GET would bring without its body.",
     .target = &Settings::head},
    {.letter = 'r',
     .name = "range",
     .argument = "range",
     .topic = Topic::REQUEST,
     .help = "Ask for these bytes only",
     .man = RANGE_MAN,
     .target = &Settings::range},
    {.letter = 'C',
     .name = "continue-at",
     .argument = "offset",
     .topic = Topic::REQUEST,
     .help = "Resume a download at an offset",
     .man = "Ask for the body from this offset on and append it to the file of -o or -O. With - "
            "the offset is the size of that file. A server that sends the whole body instead is "
            "refused with exit status 33.",
     .target = &Settings::continueAt},
    {.name = "compressed",
     .topic = Topic::REQUEST,
     .help = "Accept a compressed answer",
     .man = "Ask for gzip, br or zstd, and write the decoded body.",
     .target = &Settings::compressed},
    {.name = "url",
     .argument = "URL",
     .topic = Topic::REQUEST,
     .help = "Fetch this URL",
     .man = "The same as the URL alone; made for -K.",
     .target = &Settings::urls},
    {.name = "url-query",
     .argument = "data",
     .topic = Topic::REQUEST,
     .help = "Add to the query of the URL",
     .man = "Append data, in the notation of --data-urlencode, to the URL's query. A leading + "
            "takes the rest as it is.",
     .target =
         +[](Settings &s, const std::string &value) {
             s.urlQuery.push_back(value.starts_with('+') ? value.substr(1)
                                                         : DataUrlencodeValue(value));
         }},
    {.letter = 'g',
     .name = "globoff",
     .topic = Topic::REQUEST,
     .help = "Take {} and [] in URLs as they stand",
     .man = "Take URLs as they stand. Else {a,b} stands for each of its pieces, [1-9], [01-10:3] "
            "and [a-z] for each number or letter, and \\e{ for the bracket itself.",
     .target = &Settings::globOff},

    {.letter = 'd',
     .name = "data",
     .argument = "data",
     .topic = Topic::POST,
     .help = "Send data with POST",
     .man = DATA_MAN,
     .target = +[](Settings &s, const std::string &value) { AddData(s, DataValue(value)); },
     .important = true},
    {.name = "data-ascii",
     .argument = "data",
     .topic = Topic::POST,
     .help = "The same as --data",
     .man = "The same as --data.",
     .target = +[](Settings &s, const std::string &value) { AddData(s, DataValue(value)); }},
    {.name = "data-binary",
     .argument = "data",
     .topic = Topic::POST,
     .help = "Send data with POST, byte by byte",
     .man = "As -d, but a file is sent as it is.",
     .target = +[](Settings &s, const std::string &value) { AddData(s, DataBinaryValue(value)); }},
    {.name = "data-raw",
     .argument = "data",
     .topic = Topic::POST,
     .help = "Send data with POST, @ being plain",
     .man = "As -d, without a meaning for @.",
     .target = +[](Settings &s, const std::string &value) { AddData(s, value); }},
    {.name = "data-urlencode",
     .argument = "data",
     .topic = Topic::POST,
     .help = "Send data with POST, URL-encoded",
     .man = "As -d, URL-encoded: content, =content, name=content, @file or name@file, of which a "
            "name is sent as it is.",
     .target =
         +[](Settings &s, const std::string &value) { AddData(s, DataUrlencodeValue(value)); }},
    {.name = "json",
     .argument = "data",
     .topic = Topic::POST,
     .help = "Send JSON with POST",
     .man = "As --data-binary, with Content-Type and Accept set to application/json. Several are "
            "put together as they are.",
     .target =
         +[](Settings &s, const std::string &value) {
             s.data = s.data.value_or("") + DataBinaryValue(value);
             s.json = true;
         }},
    {.letter = 'F',
     .name = "form",
     .argument = "name=content",
     .topic = Topic::POST,
     .help = "Send a multipart form",
     .man = FORM_MAN,
     .target = +[](Settings &s, const std::string &value) { s.form.push_back(ParseForm(value)); }},
    {.name = "form-string",
     .argument = "name=string",
     .topic = Topic::POST,
     .help = "Send a multipart form, all being plain",
     .man = "As -F, without a meaning for @, < and ;type=.",
     .target =
         +[](Settings &s, const std::string &value) {
             const size_t mark = value.find('=');
             if (mark == std::string::npos) {
                 throw UsageError("expected name=string, not '" + value + "'");
             }
             FormPart part;
             part.name = value.substr(0, mark);
             part.value = value.substr(mark + 1);
             s.form.push_back(part);
         }},
    {.letter = 'T',
     .name = "upload-file",
     .argument = "file",
     .topic = Topic::POST,
     .help = "Send a file with PUT",
     .man = "Send a file as the body of a PUT; - is standard input. A URL that ends with / gets "
            "the name of the file. Each -T goes with one URL. A body above 1 MiB, or from standard "
            "input, cannot be sent again when a redirect asks for it: exit status 65.",
     .target = &Settings::uploads,
     .important = true},
};

} // namespace

std::span<const Option> RequestOptions()
{
    return OPTIONS;
}

} // namespace TnxTool
