#include <string.h>

#include <cmath>
#include <sstream>

#include "core/element_type.h"
#include "core/last_error.h"
#include "json/array_reader.h"
#include "json/input_tensor.h"
#include "json/output_tensor.h"
#include "support/vornic_test.h"

namespace {

class JsonTest : public VornicTest {};

TEST_F(JsonTest, FindsFeedItems) {
    const Name names[] = {"a", "b", "data", "a{\"b"};
    struct {
        const char* feed;
        const char* expected;  // name, brace, dtype, shape and data of the item, as offsets
    } cases[] = {
        {R"({"a":{"dtype":1,"shape":2,"data":3}})", "1 5 6 16 26"},
        {R"({"x":"a","b":{"data":3,"shape":2,"dtype":1}})", "5 13 33 23 14"},
        {R"({"a":1,"b":{}})", "1 11 - - -"},
        {R"({"a":{"data":3},"b":{"dtype":1}})", "1 5 21 - 6"},
        {R"({"a")", "1 - - - -"},
        {R"({"aa":{}})", "- - - - -"},
    };
    for (const auto& row : cases) {
        FeedItem items[4];
        vnort_find_feed_items(row.feed, names, 4, items);
        std::string got;
        for (const char* at :
             {items[0].name, items[0].brace, items[0].dtype, items[0].shape, items[0].data}) {
            got += (got.empty() ? "" : " ") + (at ? std::to_string(at - row.feed) : "-");
        }
        EXPECT_EQ(got, row.expected) << row.feed;
    }
    FeedItem items[4];
    const char* feed = R"({"a{"b":{"data":{}}})";  // "data" is a name and a key at once
    vnort_find_feed_items(feed, names, 4, items);
    EXPECT_EQ(items[3].brace - feed, 8);
    EXPECT_EQ(items[3].data - feed, 9);
    EXPECT_EQ(items[2].name - feed, 9);
    EXPECT_EQ(items[2].brace - feed, 16);
}

TEST_F(JsonTest, WritesNumericTensors) {
    const int64_t lowest = INT64_MIN;
    const uint64_t highest = UINT64_MAX;
    const float floats[] = {0.1f, 1.0f, 16777216.0f, -INFINITY, std::copysign(NAN, -1.0f), -0.0f};
    const double doubles[] = {0.1, 1e100, INFINITY, 5e-324};
    const unsigned char bytes[] = {0xff, 0x80, 2, 0};
    struct {
        uint32_t code;
        const void* elements;
        uint64_t count;
        const char* expected;
    } cases[] = {
        {1, floats, 6, R"("float32","shape":[2,3],"data":[0.100000001,1,16777216,-inf,nan,-0])"},
        {2, bytes, 4, R"("uint8","shape":[2,3],"data":[255,128,2,0])"},
        {3, bytes, 4, R"("int8","shape":[2,3],"data":[-1,-128,2,0])"},
        {4, bytes, 2, R"("uint16","shape":[2,3],"data":[33023,2])"},
        {5, bytes, 2, R"("int16","shape":[2,3],"data":[-32513,2])"},
        {6, bytes, 1, R"("int32","shape":[2,3],"data":[164095])"},
        {7, &lowest, 1, R"("int64","shape":[2,3],"data":[-9223372036854775808])"},
        {9, bytes, 4, R"("bool","shape":[2,3],"data":[true,true,true,false])"},
        {10, bytes, 2, R"("unknown","shape":[2,3],"data":[null,null])"},
        {11, doubles, 4,
         R"("float64","shape":[2,3],"data":[0.10000000000000001,1e+100,inf,4.9406564584124654e-324])"},
        {12, &highest, 1, R"("uint32","shape":[2,3],"data":[4294967295])"},
        {13, &highest, 1, R"("uint64","shape":[2,3],"data":[18446744073709551615])"},
        {1, nullptr, 0, R"("float32","shape":[2,3],"data":[])"},
    };
    const int64_t dims[] = {2, 3};
    for (const auto& row : cases) {
        std::string whole = std::string("\"dtype\":") + row.expected;
        // At every capacity the text is the beginning of the whole, but for the escaper's early
        // stop inside the dtype, which leaves room for what follows.
        for (uint64_t capacity = 24; capacity < whole.size() + 40; ++capacity) {
            std::string room(capacity + 1, '#');
            BoundedText text = {room.data(), capacity, 0};
            vnort_append_tensor_data_json(text, row.code, {dims, 2}, row.elements, row.count);
            EXPECT_EQ(std::string(room.c_str()), whole.substr(0, capacity - 1));
            EXPECT_EQ(room.back(), '#');
        }
    }
    char room[12];
    BoundedText early = {room, 12, 0};
    vnort_append_tensor_data_json(early, 1, {dims, 2}, floats, 1);
    EXPECT_STREQ(room, "\"dtype\":\"f\"");
}

}  // namespace
