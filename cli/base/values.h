// Reads the values of options: numbers, files, and the notations of -d and -F.
#ifndef TNX_CLI_VALUES_H
#define TNX_CLI_VALUES_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "settings.h"

namespace TnxTool
{

// A whole number up to `most`.
uint32_t ParseNumber(const std::string &value, uint32_t most = UINT32_MAX);

// Bytes, from 1 on; K, M, G or T may follow.
uint64_t ParseSize(const std::string &value);

// Seconds with an optional fraction, in milliseconds; 0 is no limit.
uint32_t ParseSeconds(const std::string &value);

// A rate of transfers, number/unit, as milliseconds from one to the next.
uint32_t ParsePace(const std::string &value);

// A file's content; "-" is standard input.
std::string ReadWhole(const std::string &path);

// The size of a regular file; nothing for anything else.
std::optional<uint64_t> FileSize(const std::string &path);

// Everything but unreserved characters becomes %XX.
std::string UrlEncode(std::string_view text);
std::string UrlDecode(const std::string &text);

std::string ToLower(std::string_view text);
std::string_view Trim(std::string_view text);

// The pieces between separators.
std::vector<std::string> Split(std::string_view text, char separator);

// Reads through the notations of the -d family: "text", "@file" and, for --data-urlencode,
// "name=text" and "name@file".
std::string DataValue(const std::string &value);
std::string DataBinaryValue(const std::string &value);
std::string DataUrlencodeValue(const std::string &value);

// Reads name=value, name=@file and name=<file, with ;type= and ;filename=.
FormPart ParseForm(const std::string &value);

} // namespace TnxTool

#endif
