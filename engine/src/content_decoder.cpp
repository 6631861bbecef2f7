// A chain of decoders, each of which pulls from the one before it: no more is decoded than asked
// for.
#include "content_decoder.h"

#include <algorithm>
#include <utility>

#include "content_coding.h"
#include "text.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr size_t BUFFER = 32 * 1024;
constexpr size_t MOST_CODINGS = 5; // more are an attack

// The codings in the order in which they were applied. Counted before a decoder is made for any: a
// header section has room for a hundred thousand.
std::vector<std::string> NamesOf(const std::vector<std::string> &codings)
{
    std::vector<std::string> names;
    for (const std::string &list : codings) {
        for (std::string_view rest = list; !rest.empty();) {
            const size_t comma = std::min(rest.find(','), rest.size());
            std::string name = Lower(Trim(rest.substr(0, comma)));
            rest.remove_prefix(std::min(comma + 1, rest.size()));
            if (name.empty() || name == "identity" || name == "none") {
                continue; // "none" is nowhere defined, but some servers say so
            }
            if (names.size() == MOST_CODINGS) {
                throw DamagedContent("The content is encoded more than " +
                                     std::to_string(MOST_CODINGS) + " times");
            }
            names.push_back(std::move(name));
        }
    }
    return names;
}

} // namespace

struct ContentDecoder::Stage {
    std::string name;
    std::unique_ptr<ContentCoding> coding;
    std::vector<char> buffer = std::vector<char>(BUFFER);
    std::string_view input{};
    bool begun = false;

    [[noreturn]] void Fail(const std::string &why) const
    {
        throw DamagedContent("The " + name + " content is damaged: " + why);
    }
};

ContentDecoder::ContentDecoder(const std::vector<std::string> &codings)
{
    for (std::string &name : NamesOf(codings)) {
        std::unique_ptr<ContentCoding> coding = MakeContentCoding(name);
        if (coding == nullptr) {
            throw DamagedContent("The content coding " + name + " is not known");
        }
        stages_.push_back({.name = std::move(name), .coding = std::move(coding)});
    }
    std::reverse(stages_.begin(), stages_.end());
}

ContentDecoder::~ContentDecoder() = default;

bool ContentDecoder::Empty() const
{
    return stages_.empty();
}

void ContentDecoder::Give(std::string_view piece)
{
    stages_.front().input = piece;
}

std::string_view ContentDecoder::Take()
{
    return Take(stages_.size() - 1);
}

std::string_view ContentDecoder::Take(size_t index)
{
    Stage &stage = stages_[index];
    for (;;) {
        const ContentCoding::Step step = stage.coding->Decode(stage.input, stage.buffer);
        if (!step.error.empty()) {
            stage.Fail(step.error);
        }
        stage.begun = stage.begun || step.used > 0;
        stage.input.remove_prefix(step.used);
        if (step.made > 0) {
            return {stage.buffer.data(), step.made};
        }
        if (step.used > 0) {
            continue;
        }
        if (stage.input.empty() && index > 0) {
            stage.input = Take(index - 1);
        } else if (!stage.input.empty()) {
            stage.Fail("it makes no progress");
        }
        if (stage.input.empty()) {
            return {};
        }
    }
}

size_t ContentDecoder::Left() const
{
    return stages_.front().input.size();
}

void ContentDecoder::End() const
{
    if (!stages_.front().begun) {
        return; // there was no body
    }
    for (const Stage &stage : stages_) {
        if (!stage.coding->Ended()) {
            stage.Fail("it ends too early");
        }
    }
}

} // namespace OHOS::Pelloria::Tnx
