// Well-formed responses for the routes of a scripted server.
#ifndef TNX_TESTS_SERVERS_REPLY_H
#define TNX_TESTS_SERVERS_REPLY_H

#include <string>
#include <vector>

#include "routes.h"

namespace OHOS::Pelloria::TnxTest
{

using Lines = std::vector<std::string>;

// 200, or what the query asks for (`code=302`).
unsigned Code(const Visit &visit);

// A response head with `lines` and with the lines that the query asks for (`line=Name: value`).
std::string ReplyHead(const Visit &visit, unsigned code, const Lines &lines);

std::string LengthLine(uint64_t length);

// A whole response; without its body for HEAD.
void Reply(const Visit &visit, Script &script, unsigned code, const std::string &body,
           Lines lines = {});

} // namespace OHOS::Pelloria::TnxTest

#endif
