// The manual page, from the table of options.
#include "manual.h"

#include "base/values.h"
#include "options/options.h"
#include "output/write_out.h"

namespace TnxTool
{

namespace
{

constexpr size_t WIDTH = 76;

constexpr const char *HEAD = R"(.Dd $Mdocdate$
.Dt TNX 1
.Os
.Sh NAME
.Nm tnx
.Nd fetch URLs from the command line
.Sh SYNOPSIS
.Nm
.Op Ar options
.Ar URL ...
.Sh DESCRIPTION
.Nm
fetches URLs with the habits of
.Xr curl 1 :
the body goes to standard output byte for byte, errors to standard error,
and a progress meter is shown on a terminal only.
A URL without a scheme is an http URL.
Certificates are checked unless
.Fl k
says otherwise, and redirects are followed only with
.Fl L .
.Pp
Short options without a value can be combined, as in
.Fl sSL .
The value of a short option may follow it at once, as in
.Fl ofile .
A long option may be cut short as long as it stays unambiguous, and a
switch is undone with
.Fl -no- Ns Ar name .
After
.Fl -
everything is a URL.
)";

constexpr const char *TAIL = R"(.Sh FILES
.Bl -tag -width Ds -compact
.It Pa $XDG_CONFIG_HOME/tnxrc
Options that stand before those of the command line, in the notation of
.Fl K ;
.Pa ~/.config/tnxrc
where the variable is not set.
.It Pa ~/.netrc
Users and passwords for
.Fl n .
.El
.Sh EXIT STATUS
The library's error code less 1007900000, which is the number that curl
gives the failure.
Of several URLs, the last that failed decides.
The usual ones:
.Pp
.Bl -tag -width 4n -compact
.It 0
All went well.
.It 2
The command line cannot be carried out.
.It 3
The URL is malformed.
.It 5
The proxy's name has no address.
.It 6
The host's name has no address.
.It 7
No address accepted a connection.
.It 18
The body ended early.
.It 22
The status was 400 or more, and
.Fl f
was on.
.It 23
The body could not be written.
.It 26
A file to send could not be read.
.It 28
A time-out passed.
.It 33
The server does not resume.
.It 35
The TLS handshake failed.
.It 47
More than 50 redirects.
.It 52
The server closed the connection without an answer.
.It 56
Receiving failed.
.It 58
The client certificate or its key is bad.
.It 60
The server's certificate was refused.
.It 65
The body would have to be sent again, but cannot be.
.It 90
No public-key pin matched.
.El
.Sh EXAMPLES
Post JSON and show the answer with its header lines:
.Pp
.Dl $ tnx -i --json '{\(dqa\(dq:1}' https://example.org/items
.Pp
Resume a download:
.Pp
.Dl $ tnx -C - -O https://example.org/big.iso
.Pp
See where the time goes, and why a server is refused:
.Pp
.Dl $ tnx --timing -o /dev/null https://example.org/
.Dl $ tnx --explain -o /dev/null https://expired.example.org/
.Sh SEE ALSO
.Xr curl 1 ,
.Xr libtnx_c 3 ,
.Xr tnx_errors 3
)";

// Text of the table: its backslashes are roff already; quotes are hidden from it.
std::string Roff(const std::string &text)
{
    std::string safe;
    for (const char c : text) {
        safe += c == '"' ? "\\(dq" : std::string(1, c);
    }
    return safe;
}

// One sentence a line and no line too long, as manual pages have it; and no line that begins like a
// request of roff.
std::string Sentences(const std::string &text)
{
    std::string lines;
    std::string line;
    const auto flush = [&] {
        lines += (line.starts_with('.') || line.starts_with('\'') ? "\\&" : "") + line + "\n";
        line.clear();
    };
    for (const std::string &word : Split(Roff(text), ' ')) {
        if (!line.empty() && line.size() + word.size() + 1 > WIDTH) {
            flush();
        }
        line += (line.empty() ? "" : " ") + word;
        if (word.ends_with('.')) {
            flush();
        }
    }
    if (!line.empty()) {
        flush();
    }
    return lines;
}

std::string OptionEntry(const Option &option)
{
    std::string entry = ".It ";
    if (option.letter != 0) {
        entry += std::string("Fl ") + option.letter + " , ";
    }
    entry += std::string("Fl -") + option.name;
    if (option.appendix != nullptr) {
        entry += std::string(" Ns Op = Ns Ar ") + option.appendix;
    }
    if (option.argument != nullptr) {
        entry += std::string(" Ar ") + Roff(option.argument);
    }
    return entry + "\n" + Sentences(option.man);
}

std::string OptionSections()
{
    std::string text = ".Sh OPTIONS\n";
    for (const TopicName &topic : Topics()) {
        text += std::string(".Ss ") + topic.help + "\n.Bl -tag -width Ds\n";
        for (const Option &option : Options()) {
            text += option.topic == topic.topic ? OptionEntry(option) : "";
        }
        text += ".El\n";
    }
    return text;
}

std::string VariableSection()
{
    std::string text = ".Ss Variables of --write-out\n.Bl -tag -width Ds -compact\n";
    for (const WriteOutHelp &variable : WriteOutVariables()) {
        text += std::string(".It %{") + variable.name + "}\n" + variable.help + ".\n";
    }
    text += ".It %header{ Ns Ar name Ns }\nThe first value of a field of the last answer.\n";
    return text + ".El\n";
}

} // namespace

std::string ManualPage()
{
    return HEAD + OptionSections() + VariableSection() + TAIL;
}

} // namespace TnxTool
