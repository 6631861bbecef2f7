// tnx_with_servers COMMAND [ARGUMENT...]: runs a command beside the servers that its arguments
// name, and ends with its exit status.
//
//   {scripted}      the URL of a scripted server
//   {nginx}         the URL of an nginx, {http2} and {tls} its other sites
//   {certificates}  the directory of the certificates
//   {pin}           the public-key pin of the good certificate
//   {port}          the port of the scripted server
#include <cstdio>
#include <exception>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "certificates.h"
#include "child_process.h"
#include "nginx_server.h"
#include "scripted_server.h"

using namespace OHOS::Pelloria::TnxTest;

namespace
{

class Servers
{
public:
    std::string Value(const std::string &name)
    {
        if (name == "scripted") {
            return Scripted().Url("");
        }
        if (name == "nginx") {
            return Nginx().Url("");
        }
        if (name == "http2") {
            return Nginx().Url("", Site::CLEAR_HTTP2);
        }
        if (name == "tls") {
            return Nginx().Url("", Site::TLS);
        }
        if (name == "pin") {
            return ReadFile(Certificate("good.pin"));
        }
        if (name == "port") {
            return std::to_string(Scripted().Port());
        }
        return name == "certificates" ? CertificateDirectory() : "{" + name + "}";
    }

private:
    ScriptedServer &Scripted()
    {
        if (!scripted_) {
            scripted_ = std::make_unique<ScriptedServer>();
        }
        return *scripted_;
    }
    NginxServer &Nginx()
    {
        if (!nginx_) {
            nginx_ = std::make_unique<NginxServer>(Scripted().Port());
        }
        return *nginx_;
    }

    std::unique_ptr<ScriptedServer> scripted_;
    std::unique_ptr<NginxServer> nginx_;
};

std::string Fill(std::string argument, Servers &servers)
{
    size_t at = 0;
    while ((at = argument.find('{', at)) != std::string::npos) {
        const size_t end = argument.find('}', at);
        if (end == std::string::npos) {
            break;
        }
        const std::string value = servers.Value(argument.substr(at + 1, end - at - 1));
        argument.replace(at, end - at + 1, value);
        at += value.size();
    }
    return argument;
}

} // namespace

int main(int argc, char **argv)
try {
    if (argc < 2) {
        std::fprintf(stderr, "usage: tnx_with_servers COMMAND [ARGUMENT...]\n");
        return 2;
    }
    Servers servers;
    std::vector<std::string> command;
    for (int i = 1; i < argc; ++i) {
        command.push_back(Fill(argv[i], servers));
    }
    ChildProcess process(command, "");
    return process.Wait();
} catch (const std::exception &error) {
    std::fprintf(stderr, "tnx_with_servers: %s\n", error.what());
    return 1;
}
