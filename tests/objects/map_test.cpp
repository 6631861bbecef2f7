// The map, against a model written from its description alone, and at its edges.
#include "common/c_ptr.h"
#include "tnx_platform/controls.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace OHOS::Pelloria::TnxC;
using OHOS::Pelloria::Platform::LogCapture;
using OHOS::Pelloria::Platform::LogLine;
using Items = std::vector<std::pair<std::string, void *>>;

// Buckets as plain vectors. The first key of a bucket stays in front, later ones go behind it.
class Model
{
public:
    void Put(const std::string &key, void *value)
    {
        if (Size() == buckets_.size() && buckets_.size() < 16384) {
            Grow();
        }
        for (auto &[known, old] : BucketOf(key)) {
            if (known == key) {
                old = value;
                return;
            }
        }
        Insert(key, value);
    }

    void *Get(const std::string &key)
    {
        for (const auto &[known, value] : BucketOf(key)) {
            if (known == key) {
                return value;
            }
        }
        return nullptr;
    }

    void Delete(const std::string &key)
    {
        Items &bucket = BucketOf(key);
        const size_t before = bucket.size();
        std::erase_if(bucket, [&key](const auto &item) { return item.first == key; });
        used_ -= before == 1 && bucket.empty();
    }

    Items Walk() const
    {
        Items items;
        for (const Items &bucket : buckets_) {
            items.insert(items.end(), bucket.begin(), bucket.end());
        }
        return items;
    }

    size_t Size() const { return used_; }
    size_t Capacity() const { return buckets_.size(); }

private:
    Items &BucketOf(const std::string &key)
    {
        int64_t hash = 0;
        for (const char c : key) {
            const int64_t byte = static_cast<unsigned char>(c);
            hash = (hash * 31 + (byte < 128 ? byte : byte - 256) + (int64_t{1} << 32)) %
                   (int64_t{1} << 32);
        }
        return buckets_[static_cast<size_t>(hash) % buckets_.size()];
    }

    void Insert(const std::string &key, void *value)
    {
        Items &bucket = BucketOf(key);
        used_ += bucket.empty();
        bucket.emplace(bucket.empty() ? bucket.begin() : bucket.begin() + 1, key, value);
    }

    void Grow()
    {
        const Items items = Walk();
        buckets_.assign(buckets_.size() * 2, {});
        used_ = 0;
        for (const auto &[key, value] : items) {
            Insert(key, value);
        }
    }

    std::vector<Items> buckets_ = std::vector<Items>(16);
    size_t used_ = 0;
};

Items Walk(Tnx_Map *map)
{
    Items items;
    const MapIteratorPtr iterator(OVX_Tnx_CreateMapIterator(map));
    while (iterator != nullptr && iterator->entry != nullptr) {
        items.emplace_back(iterator->entry->key, iterator->entry->value);
        OVX_Tnx_MapIterateNext(iterator.get());
    }
    return items;
}

void *Value(uintptr_t number)
{
    return reinterpret_cast<void *>(number);
}

// A short key of any bytes; high bytes take part so that the sign of a char matters.
std::string RandomKey(std::mt19937 &random)
{
    std::string key;
    for (size_t length = random() % 4; key.size() < length;) {
        key += static_cast<char>(1 + random() % 255);
    }
    return key;
}

TEST(MapTest, AgreesWithTheModelOver100000Operations)
{
    std::mt19937 random(20240607);
    const MapPtr map(OVX_Tnx_CreateMap());
    Model model;
    for (int step = 0; step < 100000; ++step) {
        const std::string key = RandomKey(random);
        const auto choice = random() % 10;
        if (choice < 6) {
            void *value = Value(random() % 1000);
            ASSERT_EQ(OVX_Tnx_PutMapEntry(map.get(), key.c_str(), value), uint32_t{TNX_OK});
            model.Put(key, value);
        } else if (choice < 8) {
            ASSERT_EQ(OVX_Tnx_DeleteMapEntry(map.get(), key.c_str()), uint32_t{TNX_OK});
            model.Delete(key);
        } else {
            ASSERT_EQ(OVX_Tnx_GetMapEntry(map.get(), key.c_str()), model.Get(key));
        }
        ASSERT_EQ(map->size, model.Size()) << "step " << step;
        ASSERT_EQ(map->capacity, model.Capacity()) << "step " << step;
        if (step % 2500 == 0) {
            ASSERT_EQ(Walk(map.get()), model.Walk()) << "step " << step;
        }
    }
    EXPECT_EQ(Walk(map.get()), model.Walk());
    EXPECT_GE(map->capacity, 1024U) << "too few growths to prove anything";
}

TEST(MapTest, GrowsToItsLimitAndThenChains)
{
    const MapPtr map(OVX_Tnx_CreateMap());
    LogCapture log;
    size_t keys = 0;
    for (; map->size < 16384 && keys < 1000000; ++keys) {
        const std::string key = std::to_string(keys);
        ASSERT_EQ(OVX_Tnx_PutMapEntry(map.get(), key.c_str(), nullptr), uint32_t{TNX_OK});
    }
    const std::vector<LogLine> lines = log.Take();
    ASSERT_EQ(lines.size(), 10U);
    EXPECT_EQ(lines.front(), (LogLine{LOG_INFO, " success to resize map from 16 to 32"}));
    EXPECT_EQ(lines.back(), (LogLine{LOG_INFO, " success to resize map from 8192 to 16384"}));

    ASSERT_EQ(OVX_Tnx_PutMapEntry(map.get(), "one more", Value(7)), uint32_t{TNX_OK});
    EXPECT_EQ(map->capacity, 16384U);
    EXPECT_EQ(OVX_Tnx_GetMapEntry(map.get(), "one more"), Value(7));
    EXPECT_EQ(log.Take(),
              (std::vector<LogLine>{{LOG_ERROR, " map capacity reaches max, skip resize"}}));
    EXPECT_EQ(Walk(map.get()).size(), keys + 1);
}

// Keys of one byte land in the bucket of their number, at capacity 16.
TEST(MapTest, ReplacingAKeyOfAFullMapGrowsItToo)
{
    const MapPtr map(OVX_Tnx_CreateMap());
    for (int i = 1; i <= 16; ++i) {
        const char key[] = {static_cast<char>(i), '\0'};
        OVX_Tnx_PutMapEntry(map.get(), key, Value(1));
    }
    ASSERT_EQ(map->capacity, 16U);
    OVX_Tnx_PutMapEntry(map.get(), "\x01", Value(2));
    EXPECT_EQ(map->capacity, 32U);
    EXPECT_EQ(OVX_Tnx_GetMapEntry(map.get(), "\x01"), Value(2));
}

TEST(MapTest, HashesBytesAsSignedChars)
{
    const MapPtr map(OVX_Tnx_CreateMap());
    OVX_Tnx_PutMapEntry(map.get(), "\xff", Value(1));
    OVX_Tnx_PutMapEntry(map.get(), "", Value(2));
    EXPECT_NE(map->entries[15], nullptr);
    EXPECT_NE(map->entries[0], nullptr);
}

TEST(MapTest, RefusesWhatIsNoMap)
{
    Tnx_MapEntry *buckets[16] = {};
    Tnx_Map withoutBuckets = {nullptr, 0, 16};
    Tnx_Map tooSmall = {buckets, 0, 15};
    Tnx_Map tooLarge = {buckets, 0, 16385};
    for (Tnx_Map *map : {static_cast<Tnx_Map *>(nullptr), &withoutBuckets, &tooSmall, &tooLarge}) {
        LogCapture log;
        EXPECT_EQ(OVX_Tnx_PutMapEntry(map, "k", nullptr), uint32_t{TNX_ERR_PARAMETER});
        EXPECT_EQ(OVX_Tnx_DeleteMapEntry(map, "k"), uint32_t{TNX_ERR_PARAMETER});
        EXPECT_EQ(OVX_Tnx_GetMapEntry(map, "k"), nullptr);
        OVX_Tnx_DestroyMap(map);
        EXPECT_TRUE(log.Take().empty());
        EXPECT_EQ(OVX_Tnx_CreateMapIterator(map), nullptr);
        EXPECT_EQ(log.Take(),
                  (std::vector<LogLine>{{LOG_ERROR, " create map iterator failed: invalid map"}}));
        Tnx_MapEntry entry = {};
        Tnx_MapIterator iterator = {map, 0, &entry};
        OVX_Tnx_MapIterateNext(&iterator);
        EXPECT_EQ(iterator.entry, &entry);
    }
    const MapPtr map(OVX_Tnx_CreateMap());
    EXPECT_EQ(OVX_Tnx_PutMapEntry(map.get(), nullptr, nullptr), uint32_t{TNX_ERR_PARAMETER});
    EXPECT_EQ(OVX_Tnx_DeleteMapEntry(map.get(), nullptr), uint32_t{TNX_ERR_PARAMETER});
    EXPECT_EQ(OVX_Tnx_GetMapEntry(map.get(), nullptr), nullptr);
    OVX_Tnx_MapIterateNext(nullptr);
    OVX_Tnx_DestroyMapIterator(nullptr);
}

TEST(MapTest, AnEmptyMapHasNoIteratorAndAWalkEndsAtItsCapacity)
{
    const MapPtr map(OVX_Tnx_CreateMap());
    LogCapture log;
    EXPECT_EQ(OVX_Tnx_CreateMapIterator(map.get()), nullptr);
    EXPECT_EQ(log.Take(),
              (std::vector<LogLine>{{LOG_INFO, " map is empty, skip create map iterator"}}));
    OVX_Tnx_PutMapEntry(map.get(), "k", Value(1));
    const MapIteratorPtr iterator(OVX_Tnx_CreateMapIterator(map.get()));
    for (int i = 0; i < 2; ++i) {
        OVX_Tnx_MapIterateNext(iterator.get());
        EXPECT_EQ(iterator->entry, nullptr);
        EXPECT_EQ(iterator->index, 16U);
    }
}

int g_released = 0;

TEST(MapTest, ReleasesEachValueOnceNullTooAndOnlyAtItsEnd)
{
    Tnx_Map *map = OVX_Tnx_CreateMap();
    OVX_Tnx_PutMapEntry(map, "replaced", Value(1));
    OVX_Tnx_PutMapEntry(map, "replaced", Value(2));
    OVX_Tnx_PutMapEntry(map, "null", nullptr);
    OVX_Tnx_PutMapEntry(map, "deleted", Value(3));
    OVX_Tnx_DeleteMapEntry(map, "deleted");
    EXPECT_EQ(OVX_Tnx_DeleteMapEntry(map, "absent"), uint32_t{TNX_OK});
    OVX_Tnx_DestroyMapWithValue(map, [](void *value) {
        EXPECT_TRUE(value == nullptr || value == Value(2));
        ++g_released;
    });
    EXPECT_EQ(g_released, 2);
}

} // namespace
