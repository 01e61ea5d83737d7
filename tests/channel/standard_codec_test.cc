#include "channel/standard_codec.h"

#include <gtest/gtest.h>

#include <cstring>
#include <ostream>

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

struct CaseName {
  template <typename Case>
  std::string operator()(const ::testing::TestParamInfo<Case>& test) const {
    return test.param.name;
  }
};
constexpr CaseName caseName;

// Flutter writes these bytes for this value, and reads them back as it.
enum class Direction { kBoth, kEncodeOnly, kDecodeOnly };

struct WireCase {
  const char* name;
  ChannelValue value;
  Bytes bytes;
  Direction direction = Direction::kBoth;
};

void PrintTo(const WireCase& c, std::ostream* out) { *out << c.name << ": " << describe(c.value); }

class WireFormatTest : public ::testing::TestWithParam<WireCase> {};

TEST_P(WireFormatTest, EncodesAndDecodesByteForByte) {
  const WireCase& c = GetParam();
  if (c.direction != Direction::kDecodeOnly) {
    EXPECT_EQ(StandardCodec::encodeValue(c.value), c.bytes);
  }
  if (c.direction != Direction::kEncodeOnly) {
    std::string error;
    const auto decoded = StandardCodec::decodeValue(c.bytes, &error);
    ASSERT_TRUE(decoded.has_value()) << error;
    EXPECT_EQ(*decoded, c.value);
  }
}

const std::string k253(253, 'a');
const std::string k254(254, 'b');
const std::string k65535(65535, 'c');
const std::string k65536(65536, 'd');

INSTANTIATE_TEST_SUITE_P(
    Scalars, WireFormatTest,
    ::testing::Values(
        WireCase{"Null", nullptr, {0}}, WireCase{"True", true, {1}}, WireCase{"False", false, {2}},
        WireCase{"Int32", std::int32_t{0x12345678}, {3, 0x78, 0x56, 0x34, 0x12}},
        WireCase{"Int32Negative", std::int32_t{-2}, {3, 0xfe, 0xff, 0xff, 0xff}},
        WireCase{"Int64", std::int64_t{0x0102030405060708}, {4, 8, 7, 6, 5, 4, 3, 2, 1}},
        WireCase{"Int64JustBelowInt32", std::int64_t{-2147483649LL},
                 {4, 0xff, 0xff, 0xff, 0x7f, 0xff, 0xff, 0xff, 0xff}},
        WireCase{"Int64JustAboveInt32", std::int64_t{2147483648LL}, {4, 0, 0, 0, 0x80, 0, 0, 0, 0}},
        WireCase{"Int64ThatFitsGoesAsInt32", std::int64_t{-2147483648LL}, {3, 0, 0, 0, 0x80}, Direction::kEncodeOnly},
        WireCase{"Int64SmallStillDecodesAsInt64", std::int64_t{7}, {4, 7, 0, 0, 0, 0, 0, 0, 0}, Direction::kDecodeOnly},
        WireCase{"Double", 1.0, {6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xf0, 0x3f}},
        WireCase{"DoubleNegativeZero", -0.0, {6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x80}},
        WireCase{"DoubleNonZeroPaddingIsSkipped", 1.0, {6, 9, 9, 9, 9, 9, 9, 9, 0, 0, 0, 0, 0, 0, 0xf0, 0x3f},
                 Direction::kDecodeOnly}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Strings, WireFormatTest,
    ::testing::Values(WireCase{"Empty", "", {7, 0}}, WireCase{"Ascii", "hi", {7, 2, 'h', 'i'}},
                      WireCase{"MultiByte", "\xc3\xa9\xe2\x82\xac", {7, 5, 0xc3, 0xa9, 0xe2, 0x82, 0xac}},
                      WireCase{"EmbeddedNul", std::string("a\0b", 3), {7, 3, 'a', 0, 'b'}},
                      WireCase{"Size253", k253, join({{7, 253}, text(k253)})},
                      WireCase{"Size254", k254, join({{7, 254, 254, 0}, text(k254)})},
                      WireCase{"Size65535", k65535, join({{7, 254, 0xff, 0xff}, text(k65535)})},
                      WireCase{"Size65536", k65536, join({{7, 255, 0, 0, 1, 0}, text(k65536)})},
                      WireCase{"LongSizeFormForShortString", "ab", {7, 255, 2, 0, 0, 0, 'a', 'b'},
                               Direction::kDecodeOnly}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    TypedLists, WireFormatTest,
    ::testing::Values(
        WireCase{"Uint8", std::vector<std::uint8_t>{1, 2, 255}, {8, 3, 1, 2, 255}},
        WireCase{"Uint8Size254", std::vector<std::uint8_t>(254, 5), join({{8, 254, 254, 0}, run(254, 5)})},
        WireCase{"Uint8Size65536", std::vector<std::uint8_t>(65536, 6), join({{8, 255, 0, 0, 1, 0}, run(65536, 6)})},
        WireCase{"Int32PaddedTwo", std::vector<std::int32_t>{1, -1}, {9, 2, 0, 0, 1, 0, 0, 0, 0xff, 0xff, 0xff, 0xff}},
        WireCase{"Int64PaddedSix", std::vector<std::int64_t>{2}, {10, 1, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0}},
        WireCase{"Float32PaddedTwo", std::vector<float>{1.0f}, {14, 1, 0, 0, 0, 0, 0x80, 0x3f}},
        WireCase{"Float64PaddedSix", std::vector<double>{2.0}, {11, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x40}},
        WireCase{"Int32Size254NeedsNoPadding", std::vector<std::int32_t>(254, 0),
                 join({{9, 254, 254, 0}, run(254 * 4, 0)})},
        WireCase{"EmptyUint8", std::vector<std::uint8_t>{}, {8, 0}},
        WireCase{"EmptyInt32Aligned", std::vector<std::int32_t>{}, {9, 0, 0, 0}},
        WireCase{"EmptyInt64Aligned", std::vector<std::int64_t>{}, {10, 0, 0, 0, 0, 0, 0, 0}},
        WireCase{"EmptyFloat32Aligned", std::vector<float>{}, {14, 0, 0, 0}},
        WireCase{"EmptyFloat64Aligned", std::vector<double>{}, {11, 0, 0, 0, 0, 0, 0, 0}},
        WireCase{"EmptyInt32Unaligned", std::vector<std::int32_t>{}, {9, 0}, Direction::kDecodeOnly},
        WireCase{"EmptyFloat64Unaligned", std::vector<double>{}, {11, 0}, Direction::kDecodeOnly}),
    caseName);

// The padding counts from the start of the message, wherever the value lies.
INSTANTIATE_TEST_SUITE_P(
    AlignmentInsideLists, WireFormatTest,
    ::testing::Values(
        WireCase{"DoubleAtOffset3PadsFour", ChannelList{true, 1.0},
                 {12, 2, 1, 6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xf0, 0x3f}},
        WireCase{"DoubleAtOffset7PadsNone", ChannelList{"abc", 1.0},
                 {12, 2, 7, 3, 'a', 'b', 'c', 6, 0, 0, 0, 0, 0, 0, 0xf0, 0x3f}},
        WireCase{"DoubleAtOffset6PadsOne", ChannelList{"ab", 1.0},
                 {12, 2, 7, 2, 'a', 'b', 6, 0, 0, 0, 0, 0, 0, 0, 0xf0, 0x3f}},
        WireCase{"Int32ListPadsThree", ChannelList{nullptr, std::vector<std::int32_t>{3}},
                 {12, 2, 0, 9, 1, 0, 0, 0, 3, 0, 0, 0}},
        WireCase{"Int32ListPadsNone", ChannelList{std::vector<std::int32_t>{3}}, {12, 1, 9, 1, 3, 0, 0, 0}},
        WireCase{"Int64ListPadsOne", ChannelList{nullptr, false, nullptr, std::vector<std::int64_t>{-1}},
                 join({{12, 4, 0, 2, 0, 10, 1, 0}, run(8, 0xff)})},
        WireCase{"Int64ListPadsFour", ChannelList{std::vector<std::int64_t>{-1}},
                 join({{12, 1, 10, 1, 0, 0, 0, 0}, run(8, 0xff)})},
        WireCase{"EmptyInt64ListAlignedBeforeNextValue", ChannelList{std::vector<std::int64_t>{}, true},
                 {12, 2, 10, 0, 0, 0, 0, 0, 1}},
        WireCase{"EmptyInt64ListUnalignedBeforeNextValue", ChannelList{std::vector<std::int64_t>{}, true},
                 {12, 2, 10, 0, 1}, Direction::kDecodeOnly}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Containers, WireFormatTest,
    ::testing::Values(
        WireCase{"EmptyList", ChannelList{}, {12, 0}}, WireCase{"EmptyMap", ChannelMap{}, {13, 0}},
        WireCase{"List", ChannelList{std::int32_t{1}, "a"}, {12, 2, 3, 1, 0, 0, 0, 7, 1, 'a'}},
        WireCase{"ListSize254", ChannelList(254, nullptr), join({{12, 254, 254, 0}, run(254, 0)})},
        WireCase{"Map", mapOf({{"a", std::int32_t{1}}, {std::int32_t{2}, nullptr}}),
                 {13, 2, 7, 1, 'a', 3, 1, 0, 0, 0, 3, 2, 0, 0, 0, 0}},
        WireCase{"MapKeepsInsertionOrder", mapOf({{"z", true}, {"a", false}}), {13, 2, 7, 1, 'z', 1, 7, 1, 'a', 2}},
        WireCase{"Nested", ChannelList{ChannelList{}, mapOf({{"k", ChannelList{std::int32_t{1}}}})},
                 {12, 2, 12, 0, 13, 1, 7, 1, 'k', 12, 1, 3, 1, 0, 0, 0}},
        WireCase{"MapWithListKey", mapOf({{ChannelList{true}, "v"}}), {13, 1, 12, 1, 1, 7, 1, 'v'}},
        WireCase{"RepeatedKeyKeepsFirstPlaceAndLastValue", mapOf({{"a", std::int32_t{2}}, {"b", true}}),
                 {13, 3, 7, 1, 'a', 3, 1, 0, 0, 0, 7, 1, 'b', 1, 7, 1, 'a', 3, 2, 0, 0, 0}, Direction::kDecodeOnly},
        WireCase{"ZeroAndNegativeZeroAreOneKey", mapOf({{0.0, std::int32_t{2}}}),
                 join({{13, 2, 6}, run(5, 0), run(8, 0), {3, 1, 0, 0, 0, 6}, run(2, 0), run(7, 0),
                       {0x80, 3, 2, 0, 0, 0}}),
                 Direction::kDecodeOnly}),
    caseName);

TEST(StandardCodecTest, RepeatedKeyInALargeMapKeepsFirstPlaceAndLastValue) {
  ChannelMap expected;
  Bytes bytes{13, 41};
  for (std::uint8_t key = 0; key < 40; ++key) {
    expected.set(std::int32_t{key}, std::int32_t{key});
    bytes.insert(bytes.end(), {3, key, 0, 0, 0, 3, key, 0, 0, 0});
  }
  expected.set(std::int32_t{7}, "last");
  bytes.insert(bytes.end(), {3, 7, 0, 0, 0, 7, 4, 'l', 'a', 's', 't'});
  std::string error;
  const auto decoded = StandardCodec::decodeValue(bytes, &error);
  ASSERT_TRUE(decoded.has_value()) << error;
  EXPECT_EQ(*decoded, ChannelValue(expected));
}

ChannelValue nestedLists(std::size_t levels) {
  ChannelValue value;
  for (std::size_t i = 0; i < levels; ++i) value = ChannelList{value};
  return value;
}

TEST(StandardCodecTest, NestingOf256LevelsIsAcceptedAnd257Refused) {
  std::string error;
  const Bytes deepest = StandardCodec::encodeValue(nestedLists(256));
  const auto decoded = StandardCodec::decodeValue(deepest, &error);
  ASSERT_TRUE(decoded.has_value()) << error;
  EXPECT_EQ(*decoded, nestedLists(256));

  EXPECT_FALSE(StandardCodec::decodeValue(StandardCodec::encodeValue(nestedLists(257)), &error));
  EXPECT_EQ(error, "nesting deeper than 256 levels at byte 512");
}

TEST(StandardCodecTest, NestedMapsCountAsLevelsToo) {
  Bytes bytes;
  for (int i = 0; i < 257; ++i) bytes.insert(bytes.end(), {13, 1, 0});
  bytes.push_back(0);
  std::string error;
  EXPECT_FALSE(StandardCodec::decodeValue(bytes, &error));
  EXPECT_EQ(error, "nesting deeper than 256 levels at byte 768");
}

struct MalformedCase {
  const char* name;
  Bytes bytes;
  const char* error;
};

void PrintTo(const MalformedCase& c, std::ostream* out) { *out << c.name; }

class MalformedValueTest : public ::testing::TestWithParam<MalformedCase> {};

TEST_P(MalformedValueTest, IsRefusedWithItsReason) {
  std::string error;
  EXPECT_FALSE(StandardCodec::decodeValue(GetParam().bytes, &error));
  EXPECT_EQ(error, GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    StandardCodec, MalformedValueTest,
    ::testing::Values(
        MalformedCase{"Empty", {}, "truncated value at byte 0"},
        MalformedCase{"TruncatedInt32", {3, 1, 2}, "truncated value at byte 1"},
        MalformedCase{"TruncatedInt64", {4, 1, 2, 3, 4}, "truncated value at byte 1"},
        MalformedCase{"TruncatedDoublePadding", {6, 0, 0}, "truncated value at byte 1"},
        MalformedCase{"TruncatedDouble", {6, 0, 0, 0, 0, 0, 0, 0, 1}, "truncated value at byte 8"},
        MalformedCase{"TruncatedSize16", {7, 254, 1}, "truncated value at byte 2"},
        MalformedCase{"TruncatedSize32", {7, 255, 1, 0, 0}, "truncated value at byte 2"},
        MalformedCase{"TruncatedListElement", {12, 2, 0}, "size 2 beyond the 1 bytes left at byte 1"},
        MalformedCase{"TruncatedInsideMapValue", {13, 1, 0, 3, 1}, "truncated value at byte 4"},
        MalformedCase{"TruncatedTypedListPadding", {10, 1, 0, 0}, "truncated value at byte 2"},
        MalformedCase{"UnknownTypeByte", {42}, "unknown type byte 42 at byte 0"},
        MalformedCase{"RetiredLargeIntTypeByte", {5, 1, '1'}, "unknown type byte 5 at byte 0"},
        MalformedCase{"UnknownTypeByteInsideList", {12, 1, 15}, "unknown type byte 15 at byte 2"},
        MalformedCase{"StringSizeBeyondInput", {7, 5, 'a'}, "size 5 beyond the 1 bytes left at byte 1"},
        MalformedCase{"Uint8ListSizeBeyondInput", {8, 254, 0, 1, 1}, "size 256 beyond the 1 bytes left at byte 1"},
        MalformedCase{"Int32ListSizeBeyondInput", {9, 2, 0, 0, 1, 0, 0, 0},
                      "size 2 beyond the 4 bytes left at byte 1"},
        MalformedCase{"HugeListCount", {12, 255, 0xff, 0xff, 0xff, 0xff},
                      "size 4294967295 beyond the 0 bytes left at byte 1"},
        MalformedCase{"MapCountBeyondInput", {13, 2, 0, 0, 0}, "size 2 beyond the 3 bytes left at byte 1"},
        MalformedCase{"TrailingByte", {0, 0}, "1 trailing bytes after the message at byte 1"},
        MalformedCase{"TrailingAfterList", {12, 1, 1, 9, 9}, "2 trailing bytes after the message at byte 3"},
        MalformedCase{"BadContinuationByte", {7, 2, 0xc3, 0x28}, "invalid UTF-8 in string at byte 2"},
        MalformedCase{"OverlongNul", {7, 2, 0xc0, 0x80}, "invalid UTF-8 in string at byte 2"},
        MalformedCase{"Surrogate", {7, 3, 0xed, 0xa0, 0x80}, "invalid UTF-8 in string at byte 2"},
        MalformedCase{"BeyondUnicode", {7, 4, 0xf4, 0x90, 0x80, 0x80}, "invalid UTF-8 in string at byte 2"},
        MalformedCase{"CutSequenceAfterNul", {7, 3, 'a', 0, 0xe2}, "invalid UTF-8 in string at byte 2"},
        MalformedCase{"InvalidUtf8InMapKey", {13, 1, 7, 1, 0xff, 0}, "invalid UTF-8 in string at byte 4"}),
    caseName);

// Every source of text decides what its bytes that are not UTF-8 become before
// they reach the channel; one that forgot is stopped in debug builds, and in
// release builds the string goes out repaired, never as bytes no one can read.
TEST(StandardCodecTest, AStringThatIsNotUtf8NeverLeavesAsItIs) {
  const std::string notText("caf\xE9\0\xC0\x80!", 8);
  EXPECT_DEBUG_DEATH(StandardCodec::encodeValue(notText), "not UTF-8");
#ifdef NDEBUG
  EXPECT_EQ(StandardCodec::decodeValue(StandardCodec::encodeValue(notText), nullptr),
            ChannelValue(std::string("caf\uFFFD\0\uFFFD\uFFFD!", 14)));
  const ChannelReply error = ChannelReply::error("E", "reason: \xFF");
  EXPECT_EQ(StandardCodec::decodeReply(StandardCodec::encodeReply(error), nullptr),
            ChannelReply::error("E", "reason: \uFFFD"));
#endif
}

TEST(StandardCodecTest, ErrorStringIsOptional) {
  EXPECT_FALSE(StandardCodec::decodeValue(Bytes{42}, nullptr));
  EXPECT_FALSE(StandardCodec::decodeMethodCall(Bytes{}, nullptr));
  EXPECT_FALSE(StandardCodec::decodeReply(Bytes{9}, nullptr));
}

const Bytes kCallBytes{7, 8, 'm', 'e', 't', 'h', 'o', 'd', ':', ':', 13, 1, 7, 3, 'p', 'i', 'd', 3, 42, 0, 0, 0};

TEST(StandardCodecTest, MethodCallIsTheNameThenTheArguments) {
  const MethodCall call{"method::", mapOf({{"pid", std::int32_t{42}}})};
  EXPECT_EQ(StandardCodec::encodeMethodCall(call), kCallBytes);
  std::string error;
  const auto decoded = StandardCodec::decodeMethodCall(kCallBytes, &error);
  ASSERT_TRUE(decoded.has_value()) << error;
  EXPECT_EQ(*decoded, call);
}

TEST(StandardCodecTest, MethodCallWithNullArguments) {
  const Bytes bytes{7, 1, 'm', 0};
  EXPECT_EQ(StandardCodec::encodeMethodCall(MethodCall{"m", {}}), bytes);
  EXPECT_EQ(StandardCodec::decodeMethodCall(bytes, nullptr), (MethodCall{"m", {}}));
}

class MalformedCallTest : public ::testing::TestWithParam<MalformedCase> {};

TEST_P(MalformedCallTest, IsRefusedWithItsReason) {
  std::string error;
  EXPECT_FALSE(StandardCodec::decodeMethodCall(GetParam().bytes, &error));
  EXPECT_EQ(error, GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    StandardCodec, MalformedCallTest,
    ::testing::Values(MalformedCase{"Empty", {}, "truncated value at byte 0"},
                      MalformedCase{"NameNotAString", {3, 1, 0, 0, 0, 0}, "method name is not a string at byte 0"},
                      MalformedCase{"NameNull", {0, 0}, "method name is not a string at byte 0"},
                      MalformedCase{"NoArguments", {7, 1, 'm'}, "truncated value at byte 3"},
                      MalformedCase{"TrailingAfterArguments", {7, 1, 'm', 0, 0},
                                    "1 trailing bytes after the message at byte 4"},
                      MalformedCase{"InvalidUtf8Name", {7, 1, 0x80, 0}, "invalid UTF-8 in string at byte 2"},
                      MalformedCase{"MalformedArguments", {7, 1, 'm', 12, 9},
                                    "size 9 beyond the 0 bytes left at byte 4"}),
    caseName);

struct EnvelopeCase {
  const char* name;
  ChannelReply reply;
  Bytes bytes;
  Direction direction = Direction::kBoth;
};

void PrintTo(const EnvelopeCase& c, std::ostream* out) { *out << c.name << ": " << describe(c.reply); }

class EnvelopeTest : public ::testing::TestWithParam<EnvelopeCase> {};

TEST_P(EnvelopeTest, EncodesAndDecodesByteForByte) {
  const EnvelopeCase& c = GetParam();
  if (c.direction != Direction::kDecodeOnly) {
    EXPECT_EQ(StandardCodec::encodeReply(c.reply), c.bytes);
  }
  if (c.direction != Direction::kEncodeOnly) {
    std::string error;
    const auto decoded = StandardCodec::decodeReply(c.bytes, &error);
    ASSERT_TRUE(decoded.has_value()) << error;
    EXPECT_EQ(*decoded, c.reply);
  }
}

const Bytes kErrorBytes{1, 7, 4, 'C', 'O', 'D', 'E', 7, 3, 'm', 's', 'g', 0};

INSTANTIATE_TEST_SUITE_P(
    StandardCodec, EnvelopeTest,
    ::testing::Values(
        EnvelopeCase{"NotImplementedIsEmpty", ChannelReply::notImplemented(), {}},
        EnvelopeCase{"SuccessNull", ChannelReply::success(), {0, 0}},
        EnvelopeCase{"SuccessValue", ChannelReply::success(std::int32_t{42}), {0, 3, 42, 0, 0, 0}},
        EnvelopeCase{"SuccessDoubleAlignedFromEnvelopeStart", ChannelReply::success(1.0),
                     {0, 6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xf0, 0x3f}},
        EnvelopeCase{"Error", ChannelReply::error("CODE", "msg"), kErrorBytes},
        EnvelopeCase{"ErrorWithDetails", ChannelReply::error("E", "", std::int32_t{1}),
                     {1, 7, 1, 'E', 7, 0, 3, 1, 0, 0, 0}},
        EnvelopeCase{"ErrorWithStackTrace", ChannelReply::error("CODE", "msg"),
                     join({kErrorBytes, {7, 2, 's', 't'}}), Direction::kDecodeOnly},
        EnvelopeCase{"ErrorWithNullStackTrace", ChannelReply::error("CODE", "msg"), join({kErrorBytes, {0}}),
                     Direction::kDecodeOnly},
        EnvelopeCase{"ErrorWithNullMessage", ChannelReply::error("E", ""), {1, 7, 1, 'E', 0, 0},
                     Direction::kDecodeOnly}),
    caseName);

class MalformedEnvelopeTest : public ::testing::TestWithParam<MalformedCase> {};

TEST_P(MalformedEnvelopeTest, IsRefusedWithItsReason) {
  std::string error;
  EXPECT_FALSE(StandardCodec::decodeReply(GetParam().bytes, &error));
  EXPECT_EQ(error, GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    StandardCodec, MalformedEnvelopeTest,
    ::testing::Values(
        MalformedCase{"UnknownKind", {2, 0}, "unknown envelope kind 2 at byte 0"},
        MalformedCase{"SuccessWithoutValue", {0}, "truncated value at byte 1"},
        MalformedCase{"SuccessWithTrailingBytes", {0, 0, 0}, "1 trailing bytes after the message at byte 2"},
        MalformedCase{"ErrorCodeNotAString", {1, 0, 0, 0}, "error code is not a string at byte 1"},
        MalformedCase{"ErrorMessageNotAString", {1, 7, 1, 'E', 1, 0},
                      "error message is neither a string nor null at byte 4"},
        MalformedCase{"ErrorWithoutDetails", {1, 7, 1, 'E', 7, 0}, "truncated value at byte 6"},
        MalformedCase{"StackTraceNotAString", join({kErrorBytes, {3, 1, 0, 0, 0}}),
                      "error stack trace is neither a string nor null at byte 13"},
        MalformedCase{"TrailingAfterStackTrace", join({kErrorBytes, {7, 0, 0}}),
                      "1 trailing bytes after the message at byte 15"},
        MalformedCase{"MalformedDetails", {1, 7, 1, 'E', 7, 0, 99}, "unknown type byte 99 at byte 6"}),
    caseName);

}  // namespace
}  // namespace quillon
