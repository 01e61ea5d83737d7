#include "channel/standard_codec.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

using Bytes = std::vector<std::uint8_t>;

// Joins pieces of a message: byte lists and repeated runs.
Bytes join(std::initializer_list<Bytes> pieces) {
  Bytes out;
  for (const Bytes& piece : pieces) out.insert(out.end(), piece.begin(), piece.end());
  return out;
}
Bytes run(std::size_t count, std::uint8_t byte) { return Bytes(count, byte); }
Bytes text(std::string_view characters) { return Bytes(characters.begin(), characters.end()); }

ChannelMap mapOf(std::initializer_list<std::pair<ChannelValue, ChannelValue>> entries) {
  ChannelMap map;
  for (const auto& [key, value] : entries) map.set(key, value);
  return map;
}

// Flutter writes these bytes for this value, and reads them back as it.
enum class Direction { kBoth, kEncodeOnly, kDecodeOnly };
constexpr auto kEncodeOnly = Direction::kEncodeOnly;
constexpr auto kDecodeOnly = Direction::kDecodeOnly;

template <typename Message>
struct Wire {
  const char* name;
  Message message;
  Bytes bytes;
  Direction direction = Direction::kBoth;
};

template <typename Message, typename Encode, typename Decode>
void expectByteForByte(std::initializer_list<Wire<Message>> cases, Encode encode, Decode decode) {
  for (const Wire<Message>& c : cases) {
    SCOPED_TRACE(c.name);
    if (c.direction != kDecodeOnly) { EXPECT_EQ(encode(c.message), c.bytes); }
    if (c.direction != kEncodeOnly) { EXPECT_EQ(decode(c.bytes), c.message); }
  }
}

void expectValuesByteForByte(std::initializer_list<Wire<ChannelValue>> cases) {
  expectByteForByte(cases, &StandardCodec::encodeValue, &StandardCodec::decodeValue);
}

TEST(StandardCodecTest, ScalarsAndStringsByteForByte) {
  const std::string k253(253, 'a'), k254(254, 'b'), k65535(65535, 'c'), k65536(65536, 'd');
  expectValuesByteForByte({
      {"Null", nullptr, {0}}, {"True", true, {1}}, {"False", false, {2}},
      {"Int32", std::int32_t{0x12345678}, {3, 0x78, 0x56, 0x34, 0x12}},
      {"Int32Negative", std::int32_t{-2}, {3, 0xfe, 0xff, 0xff, 0xff}},
      {"Int64", std::int64_t{0x0102030405060708}, {4, 8, 7, 6, 5, 4, 3, 2, 1}},
      {"Int64JustBelowInt32", std::int64_t{-2147483649LL}, {4, 0xff, 0xff, 0xff, 0x7f, 0xff, 0xff, 0xff, 0xff}},
      {"Int64JustAboveInt32", std::int64_t{2147483648LL}, {4, 0, 0, 0, 0x80, 0, 0, 0, 0}},
      {"Int64ThatFitsGoesAsInt32", std::int64_t{-2147483648LL}, {3, 0, 0, 0, 0x80}, kEncodeOnly},
      {"Int64SmallStillDecodesAsInt64", std::int64_t{7}, {4, 7, 0, 0, 0, 0, 0, 0, 0}, kDecodeOnly},
      {"Double", 1.0, {6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xf0, 0x3f}},
      {"DoubleNegativeZero", -0.0, {6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x80}},
      {"DoubleNonZeroPaddingIsSkipped", 1.0, {6, 9, 9, 9, 9, 9, 9, 9, 0, 0, 0, 0, 0, 0, 0xf0, 0x3f}, kDecodeOnly},
      {"EmptyString", "", {7, 0}}, {"Ascii", "hi", {7, 2, 'h', 'i'}},
      {"MultiByte", "\xc3\xa9\xe2\x82\xac", {7, 5, 0xc3, 0xa9, 0xe2, 0x82, 0xac}},
      {"EmbeddedNul", std::string("a\0b", 3), {7, 3, 'a', 0, 'b'}},
      {"Size253", k253, join({{7, 253}, text(k253)})}, {"Size254", k254, join({{7, 254, 254, 0}, text(k254)})},
      {"Size65535", k65535, join({{7, 254, 0xff, 0xff}, text(k65535)})},
      {"Size65536", k65536, join({{7, 255, 0, 0, 1, 0}, text(k65536)})},
      {"LongSizeFormForShortString", "ab", {7, 255, 2, 0, 0, 0, 'a', 'b'}, kDecodeOnly},
  });
}

TEST(StandardCodecTest, TypedListsByteForByte) {
  expectValuesByteForByte({
      {"Uint8", std::vector<std::uint8_t>{1, 2, 255}, {8, 3, 1, 2, 255}},
      {"Uint8Size254", std::vector<std::uint8_t>(254, 5), join({{8, 254, 254, 0}, run(254, 5)})},
      {"Uint8Size65536", std::vector<std::uint8_t>(65536, 6), join({{8, 255, 0, 0, 1, 0}, run(65536, 6)})},
      {"Int32PaddedTwo", std::vector<std::int32_t>{1, -1}, {9, 2, 0, 0, 1, 0, 0, 0, 0xff, 0xff, 0xff, 0xff}},
      {"Int64PaddedSix", std::vector<std::int64_t>{2}, {10, 1, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0}},
      {"Float32PaddedTwo", std::vector<float>{1.0f}, {14, 1, 0, 0, 0, 0, 0x80, 0x3f}},
      {"Float64PaddedSix", std::vector<double>{2.0}, {11, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x40}},
      {"Int32Size254NeedsNoPadding", std::vector<std::int32_t>(254, 0), join({{9, 254, 254, 0}, run(254 * 4, 0)})},
      {"EmptyUint8", std::vector<std::uint8_t>{}, {8, 0}},
      {"EmptyInt32Aligned", std::vector<std::int32_t>{}, {9, 0, 0, 0}},
      {"EmptyInt64Aligned", std::vector<std::int64_t>{}, {10, 0, 0, 0, 0, 0, 0, 0}},
      {"EmptyFloat32Aligned", std::vector<float>{}, {14, 0, 0, 0}},
      {"EmptyFloat64Aligned", std::vector<double>{}, {11, 0, 0, 0, 0, 0, 0, 0}},
      {"EmptyInt32Unaligned", std::vector<std::int32_t>{}, {9, 0}, kDecodeOnly},
      {"EmptyFloat64Unaligned", std::vector<double>{}, {11, 0}, kDecodeOnly},
  });
}

// The padding counts from the start of the message, wherever the value lies.
TEST(StandardCodecTest, ContainersByteForByte) {
  expectValuesByteForByte({
      {"DoubleAtOffset3PadsFour", ChannelList{true, 1.0}, {12, 2, 1, 6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xf0, 0x3f}},
      {"DoubleAtOffset7PadsNone", ChannelList{"abc", 1.0},
       {12, 2, 7, 3, 'a', 'b', 'c', 6, 0, 0, 0, 0, 0, 0, 0xf0, 0x3f}},
      {"DoubleAtOffset6PadsOne", ChannelList{"ab", 1.0}, {12, 2, 7, 2, 'a', 'b', 6, 0, 0, 0, 0, 0, 0, 0, 0xf0, 0x3f}},
      {"Int32ListPadsThree", ChannelList{nullptr, std::vector<std::int32_t>{3}}, {12, 2, 0, 9, 1, 0, 0, 0, 3, 0, 0, 0}},
      {"Int32ListPadsNone", ChannelList{std::vector<std::int32_t>{3}}, {12, 1, 9, 1, 3, 0, 0, 0}},
      {"Int64ListPadsOne", ChannelList{nullptr, false, nullptr, std::vector<std::int64_t>{-1}},
       join({{12, 4, 0, 2, 0, 10, 1, 0}, run(8, 0xff)})},
      {"Int64ListPadsFour", ChannelList{std::vector<std::int64_t>{-1}}, join({{12, 1, 10, 1, 0, 0, 0, 0}, run(8, 0xff)})},
      {"EmptyInt64ListAligned", ChannelList{std::vector<std::int64_t>{}, true}, {12, 2, 10, 0, 0, 0, 0, 0, 1}},
      {"EmptyInt64ListUnaligned", ChannelList{std::vector<std::int64_t>{}, true}, {12, 2, 10, 0, 1}, kDecodeOnly},
      {"EmptyList", ChannelList{}, {12, 0}}, {"EmptyMap", ChannelMap{}, {13, 0}},
      {"List", ChannelList{std::int32_t{1}, "a"}, {12, 2, 3, 1, 0, 0, 0, 7, 1, 'a'}},
      {"ListSize254", ChannelList(254), join({{12, 254, 254, 0}, run(254, 0)})},
      {"Map", mapOf({{"a", std::int32_t{1}}, {std::int32_t{2}, nullptr}}),
       {13, 2, 7, 1, 'a', 3, 1, 0, 0, 0, 3, 2, 0, 0, 0, 0}},
      {"MapKeepsInsertionOrder", mapOf({{"z", true}, {"a", false}}), {13, 2, 7, 1, 'z', 1, 7, 1, 'a', 2}},
      {"Nested", ChannelList{ChannelList{}, mapOf({{"k", ChannelList{std::int32_t{1}}}})},
       {12, 2, 12, 0, 13, 1, 7, 1, 'k', 12, 1, 3, 1, 0, 0, 0}},
      {"MapWithListKey", mapOf({{ChannelList{true}, "v"}}), {13, 1, 12, 1, 1, 7, 1, 'v'}},
      {"RepeatedKeyKeepsFirstPlaceAndLastValue", mapOf({{"a", std::int32_t{2}}, {"b", true}}),
       {13, 3, 7, 1, 'a', 3, 1, 0, 0, 0, 7, 1, 'b', 1, 7, 1, 'a', 3, 2, 0, 0, 0}, kDecodeOnly},
      {"ZeroAndNegativeZeroAreOneKey", mapOf({{0.0, std::int32_t{2}}}),
       join({{13, 2, 6}, run(13, 0), {3, 1, 0, 0, 0, 6}, run(9, 0), {0x80, 3, 2, 0, 0, 0}}), kDecodeOnly},
  });
}

TEST(StandardCodecTest, RepeatedKeyInALargeMapKeepsFirstPlaceAndLastValue) {
  ChannelMap expected;
  Bytes bytes{13, 41};
  for (std::uint8_t key = 0; key < 40; ++key) {
    expected.set(std::int32_t{key}, std::int32_t{key});
    bytes.insert(bytes.end(), {3, key, 0, 0, 0, 3, key, 0, 0, 0});
  }
  expected.set(std::int32_t{7}, "last");
  bytes.insert(bytes.end(), {3, 7, 0, 0, 0, 7, 4, 'l', 'a', 's', 't'});
  EXPECT_EQ(StandardCodec::decodeValue(bytes), ChannelValue(expected));
}

TEST(StandardCodecTest, NestingOf256LevelsIsAcceptedAnd257Refused) {
  ChannelValue nested;
  for (int level = 0; level < 256; ++level) nested = ChannelList{nested};
  EXPECT_EQ(StandardCodec::decodeValue(StandardCodec::encodeValue(nested)), nested);
  EXPECT_EQ(StandardCodec::decodeValue(StandardCodec::encodeValue(ChannelList{nested})),
            Failure{"nesting deeper than 256 levels at byte 512"});
  Bytes maps;  // maps count as levels too
  for (int level = 0; level < 257; ++level) maps.insert(maps.end(), {13, 1, 0});
  maps.push_back(0);
  EXPECT_EQ(StandardCodec::decodeValue(maps), Failure{"nesting deeper than 256 levels at byte 768"});
}

// Every source of text decides what its bytes that are not UTF-8 become before
// they reach the channel; one that forgot is stopped in debug builds, and in
// release builds the string goes out repaired, never as bytes no one can read.
TEST(StandardCodecTest, AStringThatIsNotUtf8NeverLeavesAsItIs) {
  const std::string notText("caf\xE9\0\xC0\x80!", 8);
  EXPECT_DEBUG_DEATH(StandardCodec::encodeValue(notText), "not UTF-8");
#ifdef NDEBUG
  EXPECT_EQ(StandardCodec::decodeValue(StandardCodec::encodeValue(notText)),
            ChannelValue(std::string("caf\uFFFD\0\uFFFD\uFFFD!", 14)));
  const ChannelReply error = ChannelReply::error("E", "reason: \xFF");
  EXPECT_EQ(StandardCodec::decodeReply(StandardCodec::encodeReply(error)),
            ChannelReply::error("E", "reason: \uFFFD"));
#endif
}

const Bytes kErrorBytes{1, 7, 4, 'C', 'O', 'D', 'E', 7, 3, 'm', 's', 'g', 0};

TEST(StandardCodecTest, CallsAndRepliesByteForByte) {
  expectByteForByte<MethodCall>(
      {{"Call", MethodCall{"method::", mapOf({{"pid", std::int32_t{42}}})},
        {7, 8, 'm', 'e', 't', 'h', 'o', 'd', ':', ':', 13, 1, 7, 3, 'p', 'i', 'd', 3, 42, 0, 0, 0}},
       {"CallWithNullArguments", MethodCall{"m", {}}, {7, 1, 'm', 0}}},
      &StandardCodec::encodeMethodCall, &StandardCodec::decodeMethodCall);
  expectByteForByte<ChannelReply>(
      {{"NotImplementedIsEmpty", ChannelReply::notImplemented(), {}},
       {"SuccessNull", ChannelReply::success(), {0, 0}},
       {"SuccessValue", ChannelReply::success(std::int32_t{42}), {0, 3, 42, 0, 0, 0}},
       {"SuccessDoubleAlignedFromEnvelopeStart", ChannelReply::success(1.0),
        {0, 6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xf0, 0x3f}},
       {"Error", ChannelReply::error("CODE", "msg"), kErrorBytes},
       {"ErrorWithDetails", ChannelReply::error("E", "", std::int32_t{1}), {1, 7, 1, 'E', 7, 0, 3, 1, 0, 0, 0}},
       {"ErrorWithStackTrace", ChannelReply::error("CODE", "msg"), join({kErrorBytes, {7, 2, 's', 't'}}), kDecodeOnly},
       {"ErrorWithNullStackTrace", ChannelReply::error("CODE", "msg"), join({kErrorBytes, {0}}), kDecodeOnly},
       {"ErrorWithNullMessage", ChannelReply::error("E", ""), {1, 7, 1, 'E', 0, 0}, kDecodeOnly}},
      &StandardCodec::encodeReply, &StandardCodec::decodeReply);
}

TEST(StandardCodecTest, MalformedMessagesAreRefusedWithTheirReason) {
  enum Decoder { kValue, kCall, kReply };
  const std::tuple<Decoder, Bytes, const char*> cases[] = {
      {kValue, {}, "truncated value at byte 0"}, {kValue, {3, 1, 2}, "truncated value at byte 1"},
      {kValue, {4, 1, 2, 3, 4}, "truncated value at byte 1"},
      {kValue, {6, 0, 0}, "truncated value at byte 1"},  // in the double's padding
      {kValue, {6, 0, 0, 0, 0, 0, 0, 0, 1}, "truncated value at byte 8"},
      {kValue, {7, 254, 1}, "truncated value at byte 2"}, {kValue, {7, 255, 1, 0, 0}, "truncated value at byte 2"},
      {kValue, {12, 2, 0}, "size 2 beyond the 1 bytes left at byte 1"},
      {kValue, {13, 1, 0, 3, 1}, "truncated value at byte 4"},
      {kValue, {10, 1, 0, 0}, "truncated value at byte 2"},  // in a typed list's padding
      {kValue, {42}, "unknown type byte 42 at byte 0"},
      {kValue, {5, 1, '1'}, "unknown type byte 5 at byte 0"},  // the retired large integer
      {kValue, {12, 1, 15}, "unknown type byte 15 at byte 2"},
      {kValue, {7, 5, 'a'}, "size 5 beyond the 1 bytes left at byte 1"},
      {kValue, {8, 254, 0, 1, 1}, "size 256 beyond the 1 bytes left at byte 1"},
      {kValue, {9, 2, 0, 0, 1, 0, 0, 0}, "size 2 beyond the 4 bytes left at byte 1"},
      {kValue, {12, 255, 0xff, 0xff, 0xff, 0xff}, "size 4294967295 beyond the 0 bytes left at byte 1"},
      {kValue, {13, 2, 0, 0, 0}, "size 2 beyond the 3 bytes left at byte 1"},
      {kValue, {0, 0}, "1 trailing bytes after the message at byte 1"},
      {kValue, {12, 1, 1, 9, 9}, "2 trailing bytes after the message at byte 3"},
      {kValue, {7, 2, 0xc3, 0x28}, "invalid UTF-8 in string at byte 2"},  // bad continuation byte
      {kValue, {7, 2, 0xc0, 0x80}, "invalid UTF-8 in string at byte 2"},  // overlong NUL
      {kValue, {7, 3, 0xed, 0xa0, 0x80}, "invalid UTF-8 in string at byte 2"},  // surrogate
      {kValue, {7, 4, 0xf4, 0x90, 0x80, 0x80}, "invalid UTF-8 in string at byte 2"},  // beyond Unicode
      {kValue, {7, 3, 'a', 0, 0xe2}, "invalid UTF-8 in string at byte 2"},  // cut sequence after a NUL
      {kValue, {13, 1, 7, 1, 0xff, 0}, "invalid UTF-8 in string at byte 4"},  // in a map key
      {kCall, {}, "truncated value at byte 0"}, {kCall, {3, 1, 0, 0, 0, 0}, "method name is not a string at byte 0"},
      {kCall, {0, 0}, "method name is not a string at byte 0"}, {kCall, {7, 1, 'm'}, "truncated value at byte 3"},
      {kCall, {7, 1, 'm', 0, 0}, "1 trailing bytes after the message at byte 4"},
      {kCall, {7, 1, 0x80, 0}, "invalid UTF-8 in string at byte 2"},
      {kCall, {7, 1, 'm', 12, 9}, "size 9 beyond the 0 bytes left at byte 4"},
      {kReply, {2, 0}, "unknown envelope kind 2 at byte 0"}, {kReply, {0}, "truncated value at byte 1"},
      {kReply, {0, 0, 0}, "1 trailing bytes after the message at byte 2"},
      {kReply, {1, 0, 0, 0}, "error code is not a string at byte 1"},
      {kReply, {1, 7, 1, 'E', 1, 0}, "error message is neither a string nor null at byte 4"},
      {kReply, {1, 7, 1, 'E', 7, 0}, "truncated value at byte 6"},
      {kReply, join({kErrorBytes, {3, 1, 0, 0, 0}}), "error stack trace is neither a string nor null at byte 13"},
      {kReply, join({kErrorBytes, {7, 0, 0}}), "1 trailing bytes after the message at byte 15"},
      {kReply, {1, 7, 1, 'E', 7, 0, 99}, "unknown type byte 99 at byte 6"},
  };
  for (const auto& [decoder, bytes, reason] : cases) {
    const Failure refusal{reason};
    if (decoder == kValue) { EXPECT_EQ(StandardCodec::decodeValue(bytes), refusal); }
    if (decoder == kCall) { EXPECT_EQ(StandardCodec::decodeMethodCall(bytes), refusal); }
    if (decoder == kReply) { EXPECT_EQ(StandardCodec::decodeReply(bytes), refusal); }
  }
}

}  // namespace
}  // namespace quillon
