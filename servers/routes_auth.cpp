// Basic, Digest and Bearer, each with the credentials `user` and `password` unless the query names
// others.
#include "routes_auth.h"

#include "bodies.h"
#include "reply.h"

namespace OHOS::Pelloria::TnxTest
{

namespace
{

constexpr char NONCE[] = "7c1b0e55";

void Decide(const Visit &visit, Script &script, bool welcome, const std::string &challenge)
{
    if (welcome) {
        Reply(visit, script, 200, "welcome");
    } else {
        Reply(visit, script, 401, "who are you", {"WWW-Authenticate: " + challenge});
    }
}

// /401-basic?user=user&password=password
void Basic(const Visit &visit, Script &script)
{
    const std::string pair =
        visit.query.Text("user", "user") + ":" + visit.query.Text("password", "password");
    Decide(visit, script, visit.request.Field("authorization") == "Basic " + Base64(pair),
           "Basic realm=\"tests\"");
}

// The value of one parameter of a credential, quoted or not.
std::string Parameter(const std::string &field, const std::string &name)
{
    size_t at = 0;
    while ((at = field.find(name + "=", at)) != std::string::npos) {
        const bool begins = at > 0 && (field[at - 1] == ' ' || field[at - 1] == ',');
        at += name.size() + 1;
        if (!begins) {
            continue;
        }
        if (field[at] == '"') {
            return field.substr(at + 1, field.find('"', at + 1) - at - 1);
        }
        return field.substr(at, field.find_first_of(", ", at) - at);
    }
    return "";
}

// /401-digest: MD5 with quality of protection, RFC 7616 section 3.4.
void Digest(const Visit &visit, Script &script)
{
    const std::string field = visit.request.Field("authorization");
    const std::string secret = Md5Hex(visit.query.Text("user", "user") +
                                      ":tests:" + visit.query.Text("password", "password"));
    const std::string action = Md5Hex(visit.request.Method() + ":" + visit.request.Target());
    const std::string expected = Md5Hex(secret + ":" + NONCE + ":" + Parameter(field, "nc") + ":" +
                                        Parameter(field, "cnonce") + ":auth:" + action);
    Decide(visit, script, Parameter(field, "response") == expected,
           std::string("Digest realm=\"tests\", qop=\"auth\", algorithm=MD5, nonce=\"") + NONCE +
               "\"");
}

// /401-bearer?token=token
void Bearer(const Visit &visit, Script &script)
{
    Decide(visit, script,
           visit.request.Field("authorization") == "Bearer " + visit.query.Text("token", "token"),
           "Bearer realm=\"tests\"");
}

} // namespace

std::unordered_map<std::string, Route> AuthRoutes()
{
    return {{"/401-basic", {Basic}}, {"/401-digest", {Digest}}, {"/401-bearer", {Bearer}}};
}

} // namespace OHOS::Pelloria::TnxTest
