// The header fields of a request.
#include "request_headers.h"

#include <algorithm>
#include <set>

#include "base/values.h"

namespace TnxTool
{

namespace
{

// Gathers fields; one that the user names is never added by the tool.
class Fields
{
public:
    void AddOne(const std::string &text)
    {
        const size_t mark = text.find(':');
        if (mark == std::string::npos) {
            AddEmpty(text);
            return;
        }
        const std::string name(Trim(std::string_view(text).substr(0, mark)));
        const std::string value(Trim(std::string_view(text).substr(mark + 1)));
        if (name.empty()) {
            throw UsageError("option -H: expected 'Name: value', not '" + text + "'");
        }
        if (value.empty()) {
            Omit(name);
            return;
        }
        named_.insert(ToLower(name));
        fields_.sent.push_back({name, value});
    }

    void AddFile(const std::string &path)
    {
        for (const std::string &line : Split(ReadWhole(path), '\n')) {
            if (!Trim(line).empty()) {
                AddOne(std::string(Trim(line)));
            }
        }
    }

    void AddOwn(const std::string &name, const std::string &value)
    {
        if (!named_.contains(ToLower(name))) {
            fields_.sent.push_back({name, value});
        }
    }

    // Neither the tool nor the library adds the field.
    void Omit(const std::string &name)
    {
        if (named_.insert(ToLower(name)).second) {
            fields_.omitted.push_back(name);
        }
    }

    HeaderFields Take() { return std::move(fields_); }

private:
    void AddEmpty(const std::string &text)
    {
        if (text.size() < 2 || !text.ends_with(';')) {
            throw UsageError("option -H: expected 'Name: value', not '" + text + "'");
        }
        named_.insert(ToLower(text.substr(0, text.size() - 1)));
        fields_.sent.push_back({text.substr(0, text.size() - 1), ""});
    }

    HeaderFields fields_;
    std::set<std::string> named_;
};

} // namespace

HeaderFields RequestHeaders(const Settings &settings, bool upload)
{
    Fields fields;
    for (const std::string &text : settings.headers) {
        if (text.starts_with('@')) {
            fields.AddFile(text.substr(1));
        } else {
            fields.AddOne(text);
        }
    }
    if (settings.userAgent == "") {
        fields.Omit("User-Agent");
    }
    fields.AddOwn("User-Agent", settings.userAgent.value_or("tnx/" TNX_TOOL_VERSION));
    fields.AddOwn("Accept", settings.json ? "application/json" : "*/*");
    if (settings.referer) {
        fields.AddOwn("Referer", *settings.referer);
    }
    if (settings.timeCondition) {
        const size_t mark = settings.timeCondition->find(':');
        fields.AddOwn(settings.timeCondition->substr(0, mark),
                      settings.timeCondition->substr(mark + 2));
    }
    if (!settings.compressed) {
        // The library asks for compression by itself; a body byte for byte is what people expect.
        fields.Omit("Accept-Encoding");
    }
    if (settings.data && !settings.get) {
        fields.AddOwn("Content-Type",
                      settings.json ? "application/json" : "application/x-www-form-urlencoded");
    } else if (upload) {
        fields.AddOwn("Content-Type", "application/octet-stream");
    }
    return fields.Take();
}

} // namespace TnxTool
