// The header fields of a response.
#ifndef TNX_NATIVE_HEADER_FIELDS_H
#define TNX_NATIVE_HEADER_FIELDS_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace OHOS::Pelloria::Tnx
{

struct HeaderField {
    std::string_view name; // in lower case
    std::string_view value;
};

// Fields in the order in which they came, a name as often as it came. Kept as one text with the
// places of names and values in it: nothing is made for fields that nobody looks at.
class HeaderFields
{
public:
    class Iterator
    {
    public:
        Iterator(const HeaderFields &fields, size_t index)
            : fields_(&fields)
            , index_(index)
        {
        }
        HeaderField operator*() const { return (*fields_)[index_]; }
        Iterator &operator++() { return ++index_, *this; }
        bool operator==(const Iterator &) const = default;

    private:
        const HeaderFields *fields_;
        size_t index_;
    };

    HeaderFields() = default;
    HeaderFields(std::initializer_list<HeaderField> fields)
    {
        for (const HeaderField &field : fields) {
            Add(field.name, field.value);
        }
    }

    // All fields together are shorter than 4 GiB.
    void Add(std::string_view name, std::string_view value)
    {
        const size_t start = text_.size();
        (text_ += name) += '\0';
        for (char *c = text_.data() + start; *c != '\0'; ++c) {
            *c = *c >= 'A' && *c <= 'Z' ? static_cast<char>(*c - 'A' + 'a') : *c;
        }
        (text_ += value) += '\0';
        places_.push_back({static_cast<uint32_t>(start), static_cast<uint32_t>(name.size()),
                           static_cast<uint32_t>(value.size())});
    }

    // Appends to the last value.
    void Extend(std::string_view more)
    {
        text_.insert(text_.size() - 1, more);
        places_.back().valueLength += static_cast<uint32_t>(more.size());
    }

    // Makes room, where it is known how much will come.
    void Reserve(size_t fields, size_t bytes)
    {
        places_.reserve(fields);
        text_.reserve(bytes);
    }

    // The room stays.
    void Clear()
    {
        places_.clear();
        text_.clear();
    }

    bool Empty() const { return places_.empty(); }
    Iterator begin() const { return {*this, 0}; }
    Iterator end() const { return {*this, places_.size()}; }

    // A NUL stands behind name and value, which are good until the fields change.
    HeaderField operator[](size_t index) const
    {
        const Place &place = places_[index];
        const char *const name = text_.data() + place.start;
        return {{name, place.nameLength}, {name + place.nameLength + 1, place.valueLength}};
    }

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
    struct Place {
        uint32_t start;
        uint32_t nameLength;
        uint32_t valueLength;
    };

    std::string text_;
    std::vector<Place> places_;
};

} // namespace OHOS::Pelloria::Tnx

#endif
