// One exchange with a resolver over HTTPS: one name, one kind of address.
#ifndef TNX_ENGINE_DOH_QUERY_H
#define TNX_ENGINE_DOH_QUERY_H

#include <array>
#include <functional>
#include <string>

#include "curl/handles.h"
#include "curl/loop_multi.h"
#include "tnx_native/configuration.h"

namespace OHOS::Pelloria::Tnx
{

// A resolver URL, and how the certificate behind it is checked: as the request's own server. Its
// pins, client certificate and credential are meant for nobody else, so the resolver sees none.
struct DohResolver {
    explicit DohResolver(const Configuration &configuration);

    std::string url;
    SecurityConfiguration trust;
};

// Made, used and destroyed in rounds of the loop.
class DohQuery final : private ExchangeListener
{
public:
    DohQuery(LoopMulti &multi, std::function<void()> done);
    ~DohQuery();

    // `resolve` tells where the resolver is, as CURLOPT_RESOLVE wants it; empty where its host
    // needs no lookup. `type` is that of the records. May be done before this returns.
    void Start(const DohResolver &resolver, const std::string &resolve, const std::string &host,
               int type);

    bool Done() const { return ended_; }
    const std::string &Message() const { return message_; } // of the answer
    const std::string &Error() const { return error_; }     // empty: there is an answer

private:
    CURLcode SetOptions(const DohResolver &resolver, const std::string &resolve);
    void ExchangeDone(CURLcode code) override;
    std::string ErrorOf(CURLcode code) const;
    void End(std::string error);
    static size_t OnBody(char *piece, size_t size, size_t count, void *self);

    LoopMulti &multi_;
    const EasyHandle easy_;
    const std::function<void()> done_;
    StringList headers_;
    StringList resolve_;
    std::string message_;
    std::string error_;
    bool ended_ = false;
    std::array<char, CURL_ERROR_SIZE> text_{};
};

} // namespace OHOS::Pelloria::Tnx

#endif
