// Basic, Digest, Bearer and NTLM, each with the credentials `user` and `password` unless the query
// names others.
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

// /401-ntlm: the three messages, of which the proof within the third is not checked. What they
// authenticate is the connection, so it closes with the welcome.
void Ntlm(const Visit &visit, Script &script)
{
    // Base 64 of "NTLMSSP", a zero byte and the first three bytes of the message's number.
    const std::string negotiate = "NTLM TlRMTVNTUAAB";
    const std::string authenticate = "NTLM TlRMTVNTUAAD";
    const std::string field = visit.request.Field("authorization");
    // The number 2, no target, OEM names and NTLM, a nonce of eight bytes.
    constexpr char CHALLENGE[] = "NTLMSSP\0\2\0\0\0\0\0\0\0\x30\0\0\0\2\x82\0\0nonce-is"
                                 "\0\0\0\0\0\0\0\0\0\0\0\0\x30\0\0";
    const std::string challenge(CHALLENGE, sizeof(CHALLENGE));
    if (field.starts_with(authenticate)) {
        Reply(visit, script, 200, "welcome", {"Connection: close"});
        script.Close();
        return;
    }
    Decide(visit, script, false,
           field.starts_with(negotiate) ? "NTLM " + Base64(challenge) : "NTLM");
}

} // namespace

std::unordered_map<std::string, Route> AuthRoutes()
{
    return {{"/401-basic", {Basic}},
            {"/401-digest", {Digest}},
            {"/401-bearer", {Bearer}},
            {"/401-ntlm", {Ntlm}}};
}

} // namespace OHOS::Pelloria::TnxTest
