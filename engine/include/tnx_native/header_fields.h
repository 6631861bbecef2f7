// The header fields of a response.
#ifndef TNX_NATIVE_HEADER_FIELDS_H
#define TNX_NATIVE_HEADER_FIELDS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace OHOS::Pelloria::Tnx
{

struct HeaderField {
    std::string_view name; // in lower case
    std::string_view value;
};

// Fields in the order in which they came, a name as often as it came. Kept as one text: nothing is
// made for fields that nobody looks at.
class HeaderFields
{
public:
    class Iterator
    {
    public:
        explicit Iterator(const char *at)
            : at_(at)
        {
        }
        // A NUL stands behind name and value, which are good until the fields change.
        HeaderField operator*() const
        {
            const Lengths lengths = LengthsAt(at_);
            const char *const name = at_ + sizeof lengths;
            return {{name, lengths.name}, {name + lengths.name + 1, lengths.value}};
        }
        Iterator &operator++()
        {
            const HeaderField field = **this;
            at_ = field.value.data() + field.value.size() + 1;
            return *this;
        }
        bool operator==(const Iterator &) const = default;

    private:
        const char *at_;
    };

    HeaderFields() = default;
    HeaderFields(std::initializer_list<HeaderField> fields)
    {
        for (const HeaderField &field : fields) {
            Add(field.name, field.value);
        }
    }

    // Returns the name as it is kept. All fields together are shorter than 4 GiB.
    std::string_view Add(std::string_view name, std::string_view value)
    {
        last_ = text_.size();
        text_.resize(last_ + sizeof(Lengths) + name.size() + value.size() + 2);
        SetLastLengths({static_cast<uint32_t>(name.size()), static_cast<uint32_t>(value.size())});
        char *const kept = text_.data() + last_ + sizeof(Lengths);
        std::transform(name.begin(), name.end(), kept, [](char c) {
            return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        });
        std::copy(value.begin(), value.end(), kept + name.size() + 1);
        return {kept, name.size()};
    }

    // Appends to the last value.
    void Extend(std::string_view more)
    {
        text_.insert(text_.size() - 1, more);
        Lengths lengths = LengthsAt(text_.data() + last_);
        lengths.value += static_cast<uint32_t>(more.size());
        SetLastLengths(lengths);
    }

    // Makes room, where it is known how much will come.
    void Reserve(size_t bytes) { text_.reserve(bytes); }

    // The room stays.
    void Clear() { text_.clear(); }

    bool Empty() const { return text_.empty(); }
    Iterator begin() const { return Iterator(text_.data()); }
    Iterator end() const { return Iterator(text_.data() + text_.size()); }

    // The first value of a name, which is given in lower case.
    std::optional<std::string_view> Find(std::string_view name) const
    {
        for (const HeaderField &field : *this) {
            if (field.name == name) {
                return field.value;
            }
        }
        return std::nullopt;
    }

private:
    // Stand in front of each field.
    struct Lengths {
        uint32_t name;
        uint32_t value;
    };

    static Lengths LengthsAt(const char *field)
    {
        Lengths lengths;
        std::memcpy(&lengths, field, sizeof lengths);
        return lengths;
    }
    void SetLastLengths(Lengths lengths)
    {
        std::memcpy(text_.data() + last_, &lengths, sizeof lengths);
    }

    std::string text_;
    size_t last_ = 0; // where the last field begins
};

} // namespace OHOS::Pelloria::Tnx

#endif
