// After a session is closed nothing of its secrets is left in the memory of the process.
#include "child_process.h"
#include "tests/e2e/client.h"

#include <cstring>
#include <fstream>

#include <fcntl.h>
#include <unistd.h>

namespace
{

using namespace EndToEnd;

// A text of a file, which the test itself holds in one place only, and wipes.
class Secret
{
public:
    explicit Secret(const std::string &path)
    {
        const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        length_ = static_cast<size_t>(std::max<ssize_t>(0, read(fd, text_, sizeof text_ - 1)));
        close(fd);
    }
    ~Secret() { Wipe(); }
    Secret(const Secret &) = delete;
    Secret &operator=(const Secret &) = delete;

    const char *Text() const { return text_; }
    size_t Length() const { return length_; }
    void Wipe() { explicit_bzero(text_, sizeof text_); }

private:
    char text_[4096] = {};
    size_t length_;
};

// What to look for: kept in another form, so as not to find itself.
class Marker
{
public:
    // A part of a secret that stands nowhere else.
    Marker(const char *name, const Secret &secret, size_t from, size_t length)
        : name_(name)
        , hidden_(length, '\0')
    {
        for (size_t i = 0; i < length; ++i) {
            hidden_[i] = static_cast<char>(secret.Text()[from + i] ^ MASK);
        }
    }

    const char *Name() const { return name_; }
    bool IsIn(const char *bytes, size_t length) const
    {
        const char first = static_cast<char>(hidden_.front() ^ MASK);
        for (const char *at = bytes; length >= hidden_.size();) {
            const size_t room = length - hidden_.size() + 1;
            const char *const next = static_cast<const char *>(std::memchr(at, first, room));
            if (next == nullptr) {
                break;
            }
            if (Matches(next)) {
                return true;
            }
            length -= static_cast<size_t>(next + 1 - at);
            at = next + 1;
        }
        return false;
    }

private:
    static constexpr char MASK = 0x55;

    bool Matches(const char *bytes) const
    {
        for (size_t i = 0; i < hidden_.size(); ++i) {
            if (bytes[i] != static_cast<char>(hidden_[i] ^ MASK)) {
                return false;
            }
        }
        return true;
    }

    const char *name_;
    std::string hidden_;
};

// The mappings of writable memory in which each marker stands.
std::map<std::string, std::string> Find(const std::vector<Marker> &markers)
{
    constexpr size_t MOST = 512UL * 1024 * 1024; // sanitizers reserve more than that
    std::map<std::string, std::string> found;
    std::ifstream maps("/proc/self/maps");
    const int memory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    static std::vector<char> copy; // wiped, since it takes copies of what it finds
    for (std::string line; std::getline(maps, line);) {
        size_t begin = 0;
        size_t end = 0;
        char mode[5] = {};
        if (std::sscanf(line.c_str(), "%zx-%zx %4s", &begin, &end, mode) != 3 || mode[1] != 'w' ||
            end - begin > MOST) {
            continue;
        }
        copy.resize(std::max(copy.size(), end - begin));
        const ssize_t size = pread(memory, copy.data(), end - begin, static_cast<off_t>(begin));
        for (const Marker &marker : markers) {
            if (size > 0 && marker.IsIn(copy.data(), static_cast<size_t>(size))) {
                found[marker.Name()] += "\n" + line;
            }
        }
        explicit_bzero(copy.data(), end - begin);
    }
    close(memory);
    return found;
}

class SecretsTest : public EndToEndTest
{
protected:
    static constexpr size_t KEY_LINE = 70; // within the second line of a key's text

    SecretsTest()
    {
        // Longer than a register: what a signal or the dynamic linker spills of one is in nobody's
        // hand.
        const std::string script =
            "cd '" + directory_.Path() +
            "' && secret() { openssl rand -hex 48 | tr -d '\\n' >$1; } "
            "&& secret name && secret password && secret phrase && "
            "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 "
            "-subj /CN=secrets -keyout key -out certificate 2>log && "
            "openssl pkcs8 -topk8 -in key -passout file:phrase -out locked";
        ChildProcess shell({"sh", "-c", script}, directory_.Path("output"));
        if (shell.Wait() != 0) {
            throw std::runtime_error(ReadFile(directory_.Path("log")));
        }
    }

    // In a process of its own, since it keeps what it receives.
    void StartServer()
    {
        const std::string output = directory_.Path("url");
        server_ =
            std::make_unique<ChildProcess>(std::vector<std::string>{TNX_SCRIPTED_SERVER}, output);
        ASSERT_TRUE(Eventually([&output] { return ReadFile(output).ends_with("\n"); }));
        scripted_ = ReadFile(output);
        scripted_.replace(scripted_.rfind('/'), std::string::npos, "/401-digest");
    }

    // Fetches both ways with the secrets in the request's own configuration.
    void Use(Secret &name, Secret &password, Secret &key, Secret *phrase, uint32_t kind)
    {
        const std::string certificate = directory_.Path("certificate");
        const std::vector<std::string> urls = {Nginx().Url("/private", Site::CLIENT_CERTIFICATE),
                                               Nginx().Url("/private", Site::TLS),
                                               Nginx().Url("/private"), scripted_};
        for (const std::string &url : urls) {
            const auto fill = [&](Call &call) {
                Tnx_SecurityConfiguration &security = call.configuration.security;
                security.credentialName = name.Text();
                security.credentialPassword = password.Text();
                security.credentialKind = kind;
                if (kind == TNX_CREDENTIAL_BEARER) {
                    // The token stands in a field, and the HTTP/2 library releases its copies of
                    // fields as they are.
                    call.configuration.transfer.transferPreference = TNX_PREFER_HTTP1_1;
                }
                security.clientCertificate.certificate = certificate.c_str();
                security.clientCertificate.key = key.Text();
                security.clientCertificate.keyPassword = phrase != nullptr ? phrase->Text() : "";
                call.configuration.tracing.debugInfoKinds[TNX_DEBUG_TEXT] = true;
            };
            Both(fill, url, "GET",
                 [](const Outcome &outcome) { EXPECT_EQ(outcome.code, 0U) << outcome.Why(); });
        }
    }

    TemporaryDirectory directory_;
    std::unique_ptr<ChildProcess> server_;
    std::string scripted_;
};

TEST_F(SecretsTest, NothingIsLeftInMemory)
{
    ASSERT_NO_FATAL_FAILURE(StartServer());
    Secret name(directory_.Path("name"));
    Secret password(directory_.Path("password"));
    Secret phrase(directory_.Path("phrase"));
    Secret key(directory_.Path("key"));
    Secret locked(directory_.Path("locked"));
    const std::vector<Marker> markers = {{"name", name, 0, name.Length()},
                                         {"password", password, 0, password.Length()},
                                         {"phrase", phrase, 0, phrase.Length()},
                                         {"key", key, KEY_LINE, 60},
                                         {"locked key", locked, KEY_LINE + 20, 60}};
    for (const uint32_t kind : {TNX_CREDENTIAL_BASIC, TNX_CREDENTIAL_AUTOMATIC,
                                TNX_CREDENTIAL_DIGEST, TNX_CREDENTIAL_BEARER}) {
        Use(name, password, key, nullptr, kind);
        Use(name, password, locked, &phrase, kind);
    }
    EXPECT_EQ(Find(markers).size(), markers.size()); // it does find what is there
    Close();
    for (Secret *secret : {&name, &password, &phrase, &key, &locked}) {
        secret->Wipe();
    }
    for (const auto &[what, where] : Find(markers)) {
        ADD_FAILURE() << what << " is left in" << where;
    }
}

} // namespace
