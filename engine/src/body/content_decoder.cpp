// A chain of decoders, each of which pulls from the one before it: no more is decoded than asked
// for.
#include "content_decoder.h"

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "content_coding.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr size_t BUFFER = 32 * 1024;

// Bytes that go into or come out of any stage before Take returns: a stage may swallow gigabytes
// of the one before it and make nothing of them.
constexpr size_t MOST_WORK = 64 * 1024;

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
    usedUp_ = false;
}

void ContentDecoder::KeepPiece()
{
    std::string_view &input = stages_.front().input;
    kept_ = std::string(input);
    input = kept_;
}

std::string_view ContentDecoder::Take()
{
    work_ = 0;
    return Take(stages_.size() - 1);
}

std::string_view ContentDecoder::Take(size_t index)
{
    Stage &stage = stages_[index];
    while (work_ < MOST_WORK) {
        const ContentCoding::Step step = stage.coding->Decode(stage.input, stage.buffer);
        if (!step.error.empty()) {
            stage.Fail(step.error);
        }
        stage.begun = stage.begun || step.used > 0;
        stage.input.remove_prefix(step.used);
        work_ += step.used + step.made;
        if (step.made > 0) {
            return {stage.buffer.data(), step.made};
        }
        if (step.used > 0) {
            continue;
        }
        if (!stage.input.empty()) {
            stage.Fail("it makes no progress");
        }
        if (index == 0) {
            usedUp_ = true;
            break;
        }
        stage.input = Take(index - 1);
        if (stage.input.empty()) {
            break;
        }
    }
    return {};
}

bool ContentDecoder::Quick() const
{
    return std::all_of(stages_.begin(), stages_.end(),
                       [](const Stage &stage) { return stage.coding->Quick(); });
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
