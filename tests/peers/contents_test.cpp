// Contents in codings that are damaged, cut, nested, or not what their name says.
#include "peers.h"

#include "bodies.h"

namespace
{

using namespace Peers;

constexpr uint32_t BAD = TNX_ERR_CONTENT_ENCODING;

std::string Coded(const std::string &coding, const std::string &body)
{
    return Ok("Content-Encoding: " + coding + "\r\nContent-Length: " + std::to_string(body.size()),
              body);
}

TEST(ContentPeers, Codings)
{
    const std::string gzip = Gzip("abcde");
    const std::string br = Brotli("abcde");
    const std::string zstd = Zstd("abcde");
    const std::string deflate = Deflate("abcde");
    const auto good = [](std::string name, std::string coding, const std::string &body) {
        return Row{std::move(name), {Coded(coding, body)}, {}, "abcde", KEPT};
    };
    const auto bad = [](std::string name, std::string coding, const std::string &body,
                        std::string told) {
        return Row{std::move(name), {Coded(coding, body)}, {BAD}, std::move(told), EITHER};
    };
    std::string skippable("\x50\x2a\x4d\x18\x04\0\0\0xxxx", 12);
    std::string hugeWindow("\x28\xb5\x2f\xfd\x00\xf8\x01\x00\x00", 9);
    Check({
        good("gzip in capitals", "GZIP", gzip),
        good("x-gzip", "x-gzip", gzip),
        good("identity", "identity", "abcde"),
        good("deflate without its header", "deflate",
             RawDeflate("abcde") + std::string("\x03\0", 2)),
        good("gzip of two members", "gzip", Gzip("ab") + Gzip("cde")),
        good("gzip of 1000 empty members", "gzip", Times(1000, Gzip("")) + gzip),
        good("zstd with a frame to skip", "zstd", skippable + zstd),
        good("gzip, br", "gzip, br", Brotli(gzip)),
        good("gzip in two fields", "gzip\r\nContent-Encoding: zstd", Zstd(gzip)),
        good("five codings", "gzip, br, zstd, deflate, gzip", Gzip(Deflate(Zstd(Brotli(gzip))))),
        good("a list with empty members", ", gzip,,", gzip),
        bad("gzip twice, encoded once", "gzip, gzip", gzip, "gzip"),
        bad("gzip with a weight", "gzip;q=1", gzip, "not known"),
        bad("rot13", "rot13", "nopqr", "coding rot13 is not known"),
        bad("a name of 10 KB", std::string(10000, 'x'), "abcde", "not known"),
        bad("1000 codings", Times(1000, "gzip, ") + "gzip", gzip, ""),
        bad("gzip that is plain", "gzip", "abcde", "incorrect header check"),
        bad("br that is plain", "br", "abcde", "br"),
        bad("zstd that is plain", "zstd", "abcde", "zstd"),
        bad("deflate that is plain", "deflate", "abcde", "deflate"),
        bad("br that is gzip", "br", gzip, "br"),
        bad("gzip that is br", "gzip", br, "gzip"),
        bad("gzip that is zstd", "gzip", zstd, "gzip"),
        bad("zstd that wants 2 GB", "zstd", hugeWindow, "zstd"),
        bad("br in the wrong order", "gzip, br", Gzip(br), ""),
        {"junk behind gzip", {Coded("gzip", gzip + "junk")}, {BAD, 0}, "abcde", EITHER},
        {"junk behind br", {Coded("br", br + "junk")}, {BAD, 0}, "abcde", EITHER},
        {"junk behind zstd", {Coded("zstd", zstd + "junk")}, {BAD, 0}, "abcde", EITHER},
        {"junk behind deflate", {Coded("deflate", deflate + "junk")}, {BAD, 0}, "abcde", EITHER},
        {"gzip of nothing at all", {Coded("gzip", "")}, {BAD, 0}, "", EITHER},
        {"gzip of 204", {"HTTP/1.1 204 N\r\nContent-Encoding: gzip\r\n\r\n"}, {}, "", KEPT, 204},
        {"gzip of HEAD",
         {Ok("Content-Encoding: gzip\r\nContent-Length: 9")},
         {},
         "",
         KEPT,
         200,
         "HEAD"},
        {"gzip until close", {Play(Ok("Content-Encoding: gzip", gzip)).Close()}, {}, "abcde"},
        {"gzip until close, cut",
         {Play(Ok("Content-Encoding: gzip", gzip.substr(0, gzip.size() - 4))).Close()},
         {BAD},
         "gzip content is damaged: it ends too early"},
    });
}

// Of what has no check sum a wrong content may come; never more than that.
TEST(ContentPeers, DamageAtEachByte)
{
    const std::string whole = Pattern(300);
    std::vector<Row> rows;
    for (const auto &[coding, body, sums] :
         {std::tuple("gzip", Gzip(whole), true), std::tuple("br", Brotli(whole), false),
          std::tuple("zstd", Zstd(whole), false), std::tuple("deflate", Deflate(whole), true)}) {
        Row damaged{std::string(coding) + ", each byte damaged", {}, {BAD, TNX_OK}, whole, EITHER};
        Row cut{std::string(coding) + ", cut at each byte", {}, {BAD}, "", EITHER};
        damaged.unsure = !sums;
        for (size_t i = 0; i < body.size(); ++i) {
            std::string other = body;
            other[i] = static_cast<char>(other[i] ^ 0x10);
            damaged.plays.push_back(Coded(coding, other));
            if (i > 0) {
                cut.plays.push_back(Coded(coding, body.substr(0, i)));
            }
        }
        rows.push_back(damaged);
        rows.push_back(cut);
    }
    Check(rows);
}

} // namespace
