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

/// The object with another value for one key.
JsonValue changed(std::string_view object, const std::string& key, const JsonValue& value) {
    auto members = json(object);
    members[key] = value;
    return members;
}

/// The key at fault; "decoded" when there is none.
template <class Record>
std::string fault(const JsonValue& value) {
    const auto record = decodeRecord<Record>(value);
    return record ? "decoded" : record.error().key;
}

template <class Record>
void expectFaults(std::string_view object, const std::string& key,
                  const std::vector<JsonValue>& wrong) {
    for (const auto& value : wrong) {
        EXPECT_EQ(fault<Record>(changed(object, key, value)), key) << value;
    }
}

template <class Record>
void expectRequired(std::string_view object, const std::vector<std::string>& keys) {
    EXPECT_EQ(fault<Record>(changed(object, "extra", 1)), "decoded");
    for (const auto& key : keys) {
        expectFaults<Record>(object, key, {nullptr, 1, JsonValue::object()});
        auto members = json(object);
        members.erase(key);
        EXPECT_EQ(fault<Record>(members), key);
    }
    EXPECT_EQ(fault<Record>(JsonValue::object()), keys.front());
    EXPECT_EQ(fault<Record>(JsonValue::array()), "");
}

template <class Record>
void expectOptional(std::string_view object, const std::string& key,
                    const std::vector<JsonValue>& right, const std::vector<JsonValue>& wrong) {
    expectFaults<Record>(object, key, wrong);
    EXPECT_EQ(encodeRecord(decodeRecord<Record>(changed(object, key, nullptr)).value()),
              json(object));
    for (const auto& value : right) {
        const auto given = changed(object, key, value);
        EXPECT_EQ(encodeRecord(decodeRecord<Record>(given).value()), given);
    }
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

TEST(Records, KeepOptionalMembersUnlessTheyAreWrong) {
    for (const auto* key : {"webViewLink", "webContentLink"}) {
        expectOptional<File>(bareFile, key, {"https://h/v?a=b", "relative/reference"},
                             {"", 1, "https://h/a b"});
    }
    expectOptional<Permission>(permission, "allowFileDiscovery", {false, true}, {0});
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
