// A tag in any script draws as text in the editor: every glyph of its title,
// laid out in the font the window shows it in, comes from a font that has the
// character (the fallback's pick), never the missing-glyph box.

#include <QGlyphRun>
#include <QLineEdit>
#include <QRawFont>
#include <QTextLayout>

#include "engine/open_track.h"
#include "operations/track_file.h"
#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/mpeg_builder.h"
#include "tests/ui/window_harness.h"
#include "ui/track_window.h"

namespace melos::test {

class ScriptGlyphsTest : public QObject {
  Q_OBJECT

  TempDir dir_;
  PreferencesController preferences_{std::make_unique<MemoryPreferenceStore>(), dir_.path()};

 private slots:
  void initTestCase() { prepareWindowTests(); }

  void everyScriptDraws_data() {
    QTest::addColumn<QString>("title");
    QTest::newRow("Latin") << QStringLiteral("Café déjà vu, Øresund, Łódź");
    QTest::newRow("Greek") << QStringLiteral("Καλημέρα κόσμε");
    QTest::newRow("Cyrillic") << QStringLiteral("Привет, мир");
    QTest::newRow("Arabic") << QStringLiteral("مرحبا بالعالم");
    QTest::newRow("Hebrew") << QStringLiteral("שלום עולם");
    QTest::newRow("Devanagari") << QStringLiteral("नमस्ते दुनिया");
    QTest::newRow("Thai") << QStringLiteral("สวัสดีชาวโลก");
    QTest::newRow("CJK") << QStringLiteral("你好世界 こんにちは 안녕하세요");
    QTest::newRow("emoji") << QStringLiteral("🎵🎶😀");
  }

  void everyScriptDraws() {
    QFETCH(QString, title);
    const std::string path = dir_.write(
        "track.mp3", mp3File({Id3v2Builder(4).text("TIT2", Enc::Utf8, title.toStdString()).build(),
                              cbrStream(MpegHeader{}, 20), {}, {}}));
    TrackFile opened = openTrackFile(path, kScanQuick);
    QVERIFY(opened.opened());
    ScriptedQuestions questions;
    ui::TrackWindow window(std::move(opened.track), preferences_, questions);
    auto* field = findByName<QLineEdit>(&window, "mT2Title");
    QVERIFY(field && field->text() == title);

    QTextLayout layout(title, field->font());
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
    QList<QRawFont> fonts;
    for (const QGlyphRun& run : layout.glyphRuns()) {
      // A run that no installed font covers is drawn by a stand-in engine
      // that has no character map and draws every glyph as a box.
      const QRawFont font = run.rawFont();
      QVERIFY2(font.isValid() && !font.fontTable("cmap").isEmpty() && !run.glyphIndexes().contains(0u),
               "a glyph is the missing-glyph box");
      fonts.append(font);
    }
    for (char32_t character : title.toUcs4()) {
      if (QChar::isSpace(character) || QChar::isPunct(character)) continue;
      const bool found = std::any_of(fonts.begin(), fonts.end(),
                                     [&](const QRawFont& font) { return font.supportsCharacter(character); });
      QVERIFY2(found, qPrintable(QStringLiteral("U+%1").arg(static_cast<uint>(character), 4, 16, QLatin1Char('0'))));
    }
  }
};

}  // namespace melos::test

QTEST_MAIN(melos::test::ScriptGlyphsTest)
#include "script_glyphs_test.moc"
