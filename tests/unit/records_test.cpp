#include <gtest/gtest.h>

#include "Cirrus/platform/formats/Json.h"
#include "Cirrus/records/FileList.h"
#include "Cirrus/records/Permission.h"
#include "Cirrus/records/RecordCoder.h"
#include "Cirrus/records/ServiceError.h"

namespace cirrus::tests {
namespace {

constexpr auto bareFile = R"({"id":"1","kind":"k","name":"é","mimeType":"m"})";
constexpr auto fullFile = R"({"id":"1","kind":"k","name":"é","mimeType":"m",
    "webViewLink":"https://h/v?a=b","webContentLink":"relative/reference"})";
constexpr auto permission = R"({"kind":"k","id":"i","type":"t","role":"r"})";

JsonValue json(std::string_view text) {
    return parseJson(text).value();
}

/// The object with another value for one key, or without the key.
JsonValue changed(std::string_view object, const std::string& key, std::optional<JsonValue> value) {
    auto members = json(object);
    members.erase(key);
    if (value) {
        members[key] = *std::move(value);
    }
    return members;
}

/// The key at fault; "decoded" when there is none.
template <class Record>
std::string fault(const JsonValue& value) {
    const auto record = decodeRecord<Record>(value);
    return record ? "decoded" : record.error().key;
}

template <class Record>
void expectRequired(std::string_view object, const std::vector<std::string>& keys) {
    EXPECT_EQ(fault<Record>(changed(object, "extra", 1)), "decoded");
    for (const auto& key : keys) {
        for (const auto& wrong :
             std::vector<std::optional<JsonValue>>{{}, nullptr, 1, JsonValue::object()}) {
            EXPECT_EQ(fault<Record>(changed(object, key, wrong)), key);
        }
    }
    EXPECT_EQ(fault<Record>(JsonValue::object()), keys.front());
    EXPECT_EQ(fault<Record>(JsonValue::array()), "");
}

TEST(Records, NeedEachRequiredMemberAndNameTheFirstThatIsWrong) {
    expectRequired<File>(bareFile, {"id", "kind", "name", "mimeType"});
    expectRequired<FileList>(R"({"kind":"k","incompleteSearch":true,"files":[]})",
                             {"kind", "incompleteSearch", "files"});
    expectRequired<Permission>(permission, {"kind", "id", "type", "role"});
    EXPECT_EQ(fault<File>(json(R"({"mimeType":1,"name":2,"id":"","kind":""})")), "name");
    EXPECT_EQ(fault<File>(json(R"({"ID":"1","kind":"k","name":"n","mimeType":"m"})")), "id");
    EXPECT_EQ(decodeRecord<File>(json("{}")).error().diagnosticText(), "\"id\": missing or null");
}

TEST(Records, FileLinksAreOptionalButNeverBroken) {
    for (const std::string key : {"webViewLink", "webContentLink"}) {
        EXPECT_EQ(encodeRecord(decodeRecord<File>(changed(fullFile, key, nullptr)).value()),
                  changed(fullFile, key, {}));
        for (const auto& wrong : {JsonValue(""), JsonValue(1), JsonValue("https://h/a b")}) {
            const std::optional<JsonValue> value(std::in_place, wrong);
            EXPECT_EQ(fault<File>(changed(fullFile, key, value)), key);
        }
    }
}

TEST(Records, FileListKeepsItsOrderAndFailsAsAWhole) {
    const std::string head =
        R"({"kind":"k","incompleteSearch":false,"files":[)" + std::string(fullFile);
    EXPECT_EQ(fault<FileList>(json(head + R"(,{"id":"a"}]})")), "files");
    EXPECT_EQ(fault<FileList>(json(head + ",null]}")), "files");
    const auto list = decodeRecord<FileList>(json(head + "," + bareFile + "]}")).value();
    EXPECT_EQ(encodeRecord(list.files.at(0)), json(fullFile));
    EXPECT_EQ(encodeRecord(list.files.at(1)), json(bareFile));
    EXPECT_EQ(encodeRecord(list), json(head + "," + bareFile + "]}"));
}

TEST(Records, EncodeToWhatTheyWereDecodedFrom) {
    for (const auto& given : {json(bareFile), json(fullFile)}) {
        EXPECT_EQ(encodeRecord(decodeRecord<File>(given).value()), given);
    }
    EXPECT_EQ(decodeRecord<File>(json(fullFile)).value().downloadLink,
              Url::parse("relative/reference"));
    const std::string key = "allowFileDiscovery";
    for (const auto& given :
         {json(permission), changed(permission, key, false), changed(permission, key, true)}) {
        EXPECT_EQ(encodeRecord(decodeRecord<Permission>(given).value()), given);
    }
    EXPECT_FALSE(
        decodeRecord<Permission>(changed(permission, key, nullptr)).value().allowFileDiscovery);
    EXPECT_EQ(fault<Permission>(changed(permission, key, 0)), key);
}

TEST(Records, ServiceErrorComesInItsEnvelopeWithAWholeNumber) {
    const auto decode = [](const std::string& code) {
        return ServiceError::decode(json(R"({"error":{"message":"","code":)" + code + "}}"));
    };
    for (const std::string text : {"404", "9223372036854775807", "-9223372036854775808"}) {
        EXPECT_EQ(decode(text).value().diagnosticText(), text + ": ");
    }
    EXPECT_EQ(decode("404.0").value().code, 404);
    EXPECT_EQ(decode("404").value().errorDescription(), "");
    for (const auto* text : {"9223372036854775808", "-9223372036854775809", "1e300", "404.5",
                             "\"404\"", "true", "null"}) {
        EXPECT_FALSE(decode(text)) << text;
    }
    for (const auto* text :
         {R"({"code":404,"message":"m"})", R"({"error":null})", R"({"error":"invalid_grant"})",
          R"({"error":{"code":404}})", R"({"Error":{"code":404,"message":"m"}})"}) {
        EXPECT_FALSE(ServiceError::decode(json(text))) << text;
    }
}

} // namespace
} // namespace cirrus::tests
