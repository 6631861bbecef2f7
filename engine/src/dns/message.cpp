// c-ares 1.28 replaced all that deals with messages, and made the older functions warn: the only
// place where its versions differ to the engine.
#include "message.h"

#include <algorithm>
#include <array>
#include <memory>

#include <ares.h>
#include <arpa/inet.h>
#include <arpa/nameser.h>

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr unsigned short ANY_CACHE = 0; // the identifier that lets caches answer (RFC 8484 4.1)

void Add(int family, const void *address, std::chrono::seconds life, LookupResult &result)
{
    std::array<char, INET6_ADDRSTRLEN> text{};
    inet_ntop(family, address, text.data(), text.size());
    result.timeToLive = result.addresses.empty() ? life : std::min(result.timeToLive, life);
    result.addresses.emplace_back(text.data());
}

// Owns the bytes from now on.
void MoveTo(unsigned char *bytes, size_t length, std::string &message)
{
    const std::unique_ptr<unsigned char, decltype(&ares_free_string)> owned(bytes,
                                                                            ares_free_string);
    message.assign(reinterpret_cast<const char *>(bytes), length);
}

const unsigned char *Bytes(std::string_view message)
{
    return reinterpret_cast<const unsigned char *>(message.data());
}

} // namespace

#if ARES_VERSION >= 0x011c00

using Message = std::unique_ptr<ares_dns_record_t, decltype(&ares_dns_record_destroy)>;

std::string WriteQuestion(const std::string &host, int type, std::string &message)
{
    ares_dns_record_t *record = nullptr;
    int status = ares_dns_record_create(&record, ANY_CACHE, ARES_FLAG_RD, ARES_OPCODE_QUERY,
                                        ARES_RCODE_NOERROR);
    const Message owned(record, ares_dns_record_destroy);
    if (status == ARES_SUCCESS) {
        status = ares_dns_record_query_add(record, host.c_str(),
                                           static_cast<ares_dns_rec_type_t>(type), ARES_CLASS_IN);
    }
    unsigned char *bytes = nullptr;
    size_t length = 0;
    if (status == ARES_SUCCESS) {
        status = ares_dns_write(record, &bytes, &length);
    }
    if (status != ARES_SUCCESS) {
        return ares_strerror(status);
    }
    MoveTo(bytes, length, message);
    return "";
}

void ReadAddresses(std::string_view message, int type, LookupResult &result)
{
    ares_dns_record_t *record = nullptr;
    if (ares_dns_parse(Bytes(message), message.size(), 0, &record) != ARES_SUCCESS) {
        return;
    }
    const Message owned(record, ares_dns_record_destroy);
    const size_t count = ares_dns_record_rr_cnt(record, ARES_SECTION_ANSWER);
    std::chrono::seconds life = std::chrono::seconds::max();
    for (size_t i = 0; i < count; ++i) {
        const ares_dns_rr_t *const rr =
            ares_dns_record_rr_get_const(record, ARES_SECTION_ANSWER, i);
        // The aliases that lead to an address stand before it.
        life = std::min(life, std::chrono::seconds(ares_dns_rr_get_ttl(rr)));
        if (ares_dns_rr_get_type(rr) != static_cast<ares_dns_rec_type_t>(type)) {
            continue;
        }
        if (type == ns_t_a) {
            Add(AF_INET, ares_dns_rr_get_addr(rr, ARES_RR_A_ADDR), life, result);
        } else {
            Add(AF_INET6, ares_dns_rr_get_addr6(rr, ARES_RR_AAAA_ADDR), life, result);
        }
    }
}

#else

template <class Record, class Parse>
static void ReadRecords(std::string_view message, int family, Parse parse, LookupResult &result)
{
    std::array<Record, 32> records{};
    int count = static_cast<int>(records.size());
    if (parse(Bytes(message), static_cast<int>(message.size()), nullptr, records.data(), &count) !=
        ARES_SUCCESS) {
        return;
    }
    for (int i = 0; i < count; ++i) {
        const Record &record = records[static_cast<size_t>(i)];
        // The address comes first in it.
        Add(family, &record, std::chrono::seconds(std::max(record.ttl, 0)), result);
    }
}

std::string WriteQuestion(const std::string &host, int type, std::string &message)
{
    unsigned char *bytes = nullptr;
    int length = 0;
    const int status =
        ares_create_query(host.c_str(), ns_c_in, type, ANY_CACHE, 1, &bytes, &length, 0);
    if (status != ARES_SUCCESS) {
        return ares_strerror(status);
    }
    MoveTo(bytes, static_cast<size_t>(length), message);
    return "";
}

void ReadAddresses(std::string_view message, int type, LookupResult &result)
{
    if (type == ns_t_a) {
        ReadRecords<ares_addrttl>(message, AF_INET, ares_parse_a_reply, result);
    } else {
        ReadRecords<ares_addr6ttl>(message, AF_INET6, ares_parse_aaaa_reply, result);
    }
}

#endif

} // namespace OHOS::Pelloria::Tnx
