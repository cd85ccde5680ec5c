#include <QClipboard>

#include <Cirrus/adapters/Qt.h>

#include "tests/host/Desktop.h"

namespace cirrus::tests {

namespace {

TEST_F(Desktop, SharesWhatIsDroppedAndTyped) {
    drop({file("one"), file("two"), file("three"), file("one"), QUrl("file:///")});
    EXPECT_TRUE(find<QLabel>("summary")->text().endsWith("is not a file and was left out."));
    auto* list = find<QTreeView>("files");
    list->setCurrentIndex(list->model()->index(1, 0));
    QTest::keyClick(list, Qt::Key_Delete);
    QTest::keyClicks(find<QWidget>("destination"), " of us");
    QTest::keyClicks(find<QWidget>("email"), "a@example.com");
    QTest::keyClicks(find<QWidget>("message"), "Look");
    find<QCheckBox>("expires")->click();
    const auto end = find<QDateEdit>("lastDay")->date().toString("yyyy-MM-dd'T23:59:59'");
    QTest::keyClick(&window, Qt::Key_Return);
    ASSERT_TRUE(await("Uploading"));
    EXPECT_EQ(states(), "Uploaded, Uploading");
    list->selectAll();
    QTest::keyClick(list, Qt::Key_Delete); // not any more
    gate->open();
    ASSERT_TRUE(await("Shared"));
    EXPECT_EQ(words, "Preparing Uploading Finishing Shared ");
    EXPECT_EQ(states(), "Shared, Shared");
    EXPECT_EQ(find<QLabel>("amount")->text(), "2 of 2, 8 of 8 bytes");
    const auto snapshot = (*drive)->snapshot();
    EXPECT_EQ(snapshot.pathOf(snapshot.files.end()[-2]), "Stashly/Shared files of us/one");
    EXPECT_EQ(snapshot.pathOf(snapshot.files.back()), "Stashly/Shared files of us/three");
    const auto& permission = snapshot.files[1].permissions.at(0);
    EXPECT_EQ(*permission.emailAddress + ": " + *permission.emailMessage, "a@example.com: Look");
    EXPECT_TRUE(permission.expirationTime->starts_with(end.toStdString()));
    find("copy")->click();
    EXPECT_EQ(QApplication::clipboard()->text().toStdString(),
              "https://drive.google.com/drive/folders/" + snapshot.files[1].id);
}

TEST_F(Desktop, ShowsFailuresAndCanShareAgain) {
    const std::string refusal = R"({"error": {"code": 403, "message": "Not <allowed>."}})";
    (*drive)->setHook(answeringOnce(Step::permission, {.status = 403, .body = refusal}));
    drop({file("one"), file("two")});
    find("share")->click();
    ASSERT_TRUE(await("Failed"));
    EXPECT_EQ(qobject_cast<QMessageBox*>(qApp->activeModalWidget())->text(), "Not <allowed>.");
    QTest::keyClick(qApp->activeModalWidget(), Qt::Key_Escape);
    EXPECT_EQ(find<QLabel>("hint")->text(), "Not <allowed>.");
    EXPECT_EQ(states(), "Uploaded, Uploaded");
    std::filesystem::remove(folder.path() / "two");
    words = "";
    find("share")->click();
    ASSERT_TRUE(await("Failed")) << words;
    EXPECT_EQ(states(), "Uploaded, the file could not be read");
    EXPECT_EQ(window.findChild<QMessageBox*>("failure")->informativeText(),
              "1 file: the file could not be read");
    EXPECT_EQ(find<QLabel>("amount")->text(), "1 of 2, 3 of 6 bytes");
}

TEST_F(Desktop, FitsASmallScreen) {
    // 1366 x 768 at 150 %, without the frame and a panel.
    constexpr QSize small(911, 450);
    window.resize(small);
    EXPECT_EQ(window.size(), small);
}

TEST_F(Desktop, ReallyStopsAndAsksBeforeItClosesInMidUpload) {
    drop({file("one"), file("two")});
    const std::vector<std::tuple<Step, std::size_t, bool>> rows{
        {Step::createDestination, 3, false}, {Step::content, 4, false}, {Step::content, 4, true}};
    for (const auto& [step, requestsUntilThen, closes] : rows) {
        hold(step);
        const auto before = (*drive)->snapshot().requests.size();
        find("share")->click();
        ASSERT_TRUE(gate->awaitArrival());
        if (closes) {
            window.close();
            press("&Keep sharing");
            EXPECT_TRUE(window.isVisible());
            window.close();
            press("&Stop and close");
        } else {
            find("cancel")->click();
        }
        EXPECT_TRUE(find<QLabel>("hint")->text().contains("stays in your Drive"));
        gate->open();
        // By the end of another share, the stopped one would have gone on.
        find("share")->click();
        ASSERT_TRUE(await("Shared"));
        EXPECT_EQ((*drive)->snapshot().requests.size() - before, requestsUntilThen + 8);
        EXPECT_TRUE(words.contains(" Cancelled Preparing ")) << words;
    }
    hold(Step::content);
    find("share")->click();
    ASSERT_TRUE(gate->awaitArrival());
    window.close();
    gate->open();
    ASSERT_TRUE(await("Shared"));
    EXPECT_EQ(qApp->activeModalWidget(), nullptr) << "the outcome has answered the question";
    find("share")->click(); // The window goes in the midst of it.
}

} // namespace

} // namespace cirrus::tests

int main(int count, char** values) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QLocale::setDefault(QLocale::c());
    const QApplication application(count, values);
    cirrus::useQtEventLoop();
    testing::InitGoogleTest(&count, values);
    return RUN_ALL_TESTS();
}
