// The content codings themselves, each over the library that is known for it.
#ifndef TNX_ENGINE_CONTENT_CODING_H
#define TNX_ENGINE_CONTENT_CODING_H

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace OHOS::Pelloria::Tnx
{

class ContentCoding
{
public:
    struct Step {
        size_t used = 0;
        size_t made = 0;
        std::string error{}; // what is wrong with the input
    };

    virtual ~ContentCoding() = default;

    // Decodes some of the input. Nothing used and nothing made: there has to be more of it.
    virtual Step Decode(std::string_view input, std::span<char> output) = 0;

    // The encoded data is complete. What follows it is passed over or begins a new one, as its
    // format has it.
    virtual bool Ended() const = 0;

    // A step takes no more time than the lengths of its input and output say.
    virtual bool Quick() const { return true; }
};

// By its lower-case name; null when it is not known.
std::unique_ptr<ContentCoding> MakeContentCoding(std::string_view name);

} // namespace OHOS::Pelloria::Tnx

#endif
