#include "utilities/OrderedJson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

#include <cmath>
#include <cstdint>
#include <limits>

Q_DECLARE_METATYPE(OrderedJson::Style)

namespace {

using Style = OrderedJson::Style;

OrderedJson integer(std::int64_t value) {
    return OrderedJson(value);
}

OrderedJson text(const char* utf8) {
    return OrderedJson(QString::fromUtf8(utf8));
}

} // namespace

class TestOrderedJson : public QObject {
    Q_OBJECT

private slots:
    void compactKeepsMemberOrder() {
        const OrderedJson value = OrderedJson::Object{
            {QStringLiteral("zeta"), integer(1)},
            {QStringLiteral("alpha"), text("a")},
            {QStringLiteral("mid"),
             OrderedJson::Object{{QStringLiteral("y"), true}, {QStringLiteral("b"), false}}},
            {QStringLiteral("list"),
             OrderedJson::Array{integer(3), OrderedJson(), 2.5,
                                OrderedJson::Object{{QStringLiteral("k"), integer(2)},
                                                    {QStringLiteral("c"), integer(1)}}}},
        };
        const auto out = value.serialize(Style::Compact);
        QVERIFY(out.has_value());
        QCOMPARE(*out, QByteArray(R"({"zeta":1,"alpha":"a","mid":{"y":true,"b":false},)"
                                  R"("list":[3,null,2.5,{"k":2,"c":1}]})"));
    }

    void prettySortedSortsAndIndents() {
        const OrderedJson value = OrderedJson::Object{
            {QStringLiteral("e"), OrderedJson::Object{}},
            {QStringLiteral("b"),
             OrderedJson::Array{
                 OrderedJson::Object{{QStringLiteral("d"), integer(3)},
                                     {QStringLiteral("c"), integer(2)}},
                 OrderedJson::Array{},
                 text("x"),
             }},
            {QStringLiteral("a"), integer(1)},
        };
        const auto out = value.serialize(Style::PrettySorted);
        QVERIFY(out.has_value());
        QCOMPARE(*out, QByteArray("{\n"
                                  "  \"a\" : 1,\n"
                                  "  \"b\" : [\n"
                                  "    {\n"
                                  "      \"c\" : 2,\n"
                                  "      \"d\" : 3\n"
                                  "    },\n"
                                  "    [],\n"
                                  "    \"x\"\n"
                                  "  ],\n"
                                  "  \"e\" : {}\n"
                                  "}"));
    }

    void prettySortedSortsObjectsInsideArraysInsideObjects() {
        const OrderedJson value = OrderedJson::Array{OrderedJson::Object{
            {QStringLiteral("outer"),
             OrderedJson::Array{OrderedJson::Object{{QStringLiteral("z"), integer(1)},
                                                    {QStringLiteral("a"), integer(2)}}}},
        }};
        const auto out = value.serialize(Style::PrettySorted);
        QVERIFY(out.has_value());
        QCOMPARE(*out, QByteArray("[\n"
                                  "  {\n"
                                  "    \"outer\" : [\n"
                                  "      {\n"
                                  "        \"a\" : 2,\n"
                                  "        \"z\" : 1\n"
                                  "      }\n"
                                  "    ]\n"
                                  "  }\n"
                                  "]"));
    }

    void prettySortedOrdersKeysByCodePoint() {
        // Case-sensitive, so the order does not depend on the locale the file was written in.
        const OrderedJson value = OrderedJson::Object{
            {QStringLiteral("b"), integer(1)}, {QStringLiteral("aa"), integer(2)},
            {QStringLiteral("a"), integer(3)}, {QStringLiteral("_"), integer(4)},
            {QStringLiteral("B"), integer(5)},
        };
        const auto out = value.serialize(Style::PrettySorted);
        QVERIFY(out.has_value());
        QCOMPARE(*out, QByteArray("{\n"
                                  "  \"B\" : 5,\n"
                                  "  \"_\" : 4,\n"
                                  "  \"a\" : 3,\n"
                                  "  \"aa\" : 2,\n"
                                  "  \"b\" : 1\n"
                                  "}"));
    }

    void prettySortedLeavesCompactUntouched() {
        // Sorting for the file must not reorder the tree that the compact form is written from.
        const OrderedJson value = OrderedJson::Object{{QStringLiteral("b"), integer(1)},
                                                      {QStringLiteral("a"), integer(2)}};
        QVERIFY(value.serialize(Style::PrettySorted).has_value());
        const auto out = value.serialize(Style::Compact);
        QVERIFY(out.has_value());
        QCOMPARE(*out, QByteArray(R"({"b":1,"a":2})"));
    }

    void emptyContainers_data() {
        QTest::addColumn<Style>("style");

        QTest::newRow("compact") << Style::Compact;
        QTest::newRow("pretty sorted") << Style::PrettySorted;
    }

    void emptyContainers() {
        QFETCH(Style, style);

        const auto array = OrderedJson(OrderedJson::Array{}).serialize(style);
        QVERIFY(array.has_value());
        QCOMPARE(*array, QByteArray("[]"));

        const auto object = OrderedJson(OrderedJson::Object{}).serialize(style);
        QVERIFY(object.has_value());
        QCOMPARE(*object, QByteArray("{}"));
    }

    void scalars_data() {
        QTest::addColumn<Style>("style");

        QTest::newRow("compact") << Style::Compact;
        QTest::newRow("pretty sorted") << Style::PrettySorted;
    }

    void scalars() {
        QFETCH(Style, style);

        QCOMPARE(OrderedJson().serialize(style).value_or("?"), QByteArray("null"));
        QCOMPARE(OrderedJson(true).serialize(style).value_or("?"), QByteArray("true"));
        QCOMPARE(OrderedJson(false).serialize(style).value_or("?"), QByteArray("false"));
        QCOMPARE(integer(124).serialize(style).value_or("?"), QByteArray("124"));
        QCOMPARE(text("x").serialize(style).value_or("?"), QByteArray("\"x\""));
    }

    void doubles_data() {
        QTest::addColumn<double>("value");
        QTest::addColumn<QByteArray>("expected");

        // Whole numbers lose their ".0", as the settings file has always had them.
        QTest::newRow("10.0") << 10.0 << QByteArray("10");
        QTest::newRow("2.5") << 2.5 << QByteArray("2.5");
        QTest::newRow("0.1") << 0.1 << QByteArray("0.1");
        QTest::newRow("-10.0") << -10.0 << QByteArray("-10");
        QTest::newRow("0.0") << 0.0 << QByteArray("0");
        QTest::newRow("1e16") << 1e16 << QByteArray("1e+16");
        QTest::newRow("123456.789") << 123456.789 << QByteArray("123456.789");
        QTest::newRow("1.5e300") << 1.5e300 << QByteArray("1.5e+300");
    }

    void doubles() {
        QFETCH(double, value);
        QFETCH(QByteArray, expected);

        const auto out = OrderedJson(value).serialize(Style::Compact);
        QVERIFY(out.has_value());
        QCOMPARE(*out, expected);

        // The shortest form is only useful if it still reads back as exactly the same number.
        const QJsonDocument document = QJsonDocument::fromJson('[' + *out + ']');
        QVERIFY(document.isArray());
        QCOMPARE(document.array().at(0).toDouble(), value);
    }

    void integers_data() {
        QTest::addColumn<qint64>("value");
        QTest::addColumn<QByteArray>("expected");

        QTest::newRow("zero") << qint64{0} << QByteArray("0");
        QTest::newRow("key code") << qint64{124} << QByteArray("124");
        QTest::newRow("negative") << qint64{-7} << QByteArray("-7");
        QTest::newRow("largest 32-bit mask") << qint64{4294967295} << QByteArray("4294967295");
        QTest::newRow("int64 max") << qint64{std::numeric_limits<std::int64_t>::max()}
                                   << QByteArray("9223372036854775807");
        QTest::newRow("int64 min") << qint64{std::numeric_limits<std::int64_t>::min()}
                                   << QByteArray("-9223372036854775808");
    }

    void integers() {
        QFETCH(qint64, value);
        QFETCH(QByteArray, expected);

        const auto out = integer(value).serialize(Style::Compact);
        QVERIFY(out.has_value());
        QCOMPARE(*out, expected);
    }

    void nonFiniteNumbersCannotBeWritten_data() {
        QTest::addColumn<double>("value");

        QTest::newRow("NaN") << std::numeric_limits<double>::quiet_NaN();
        QTest::newRow("infinity") << std::numeric_limits<double>::infinity();
        QTest::newRow("-infinity") << -std::numeric_limits<double>::infinity();
    }

    void nonFiniteNumbersCannotBeWritten() {
        QFETCH(double, value);

        const OrderedJson bare(value);
        const OrderedJson inArray = OrderedJson::Array{integer(1), value, integer(2)};
        const OrderedJson inObject = OrderedJson::Object{{QStringLiteral("a"), integer(1)},
                                                         {QStringLiteral("seconds"), value}};
        // Deep and last in sort order, so nothing after it can mask the failure.
        const OrderedJson deep = OrderedJson::Object{
            {QStringLiteral("z"), OrderedJson::Array{OrderedJson::Object{
                                      {QStringLiteral("x"), OrderedJson::Array{value}}}}},
            {QStringLiteral("a"), text("fine")},
        };

        for (const Style style : {Style::Compact, Style::PrettySorted}) {
            QVERIFY(!bare.serialize(style).has_value());
            QVERIFY(!inArray.serialize(style).has_value());
            QVERIFY(!inObject.serialize(style).has_value());
            QVERIFY(!deep.serialize(style).has_value());
        }
    }

    void finiteSiblingsStillSerialise() {
        // Guards the test above: the same shapes with a finite number are writable.
        const OrderedJson deep = OrderedJson::Object{
            {QStringLiteral("z"), OrderedJson::Array{OrderedJson::Object{
                                      {QStringLiteral("x"), OrderedJson::Array{1.0}}}}},
            {QStringLiteral("a"), text("fine")},
        };
        const auto out = deep.serialize(Style::Compact);
        QVERIFY(out.has_value());
        QCOMPARE(*out, QByteArray(R"({"z":[{"x":[1]}],"a":"fine"})"));
    }

    void strings_data() {
        QTest::addColumn<QString>("value");
        QTest::addColumn<QByteArray>("expected");

        QTest::newRow("plain") << QStringLiteral("Spotify") << QByteArray(R"("Spotify")");
        // Not a raw string: moc loses track of the class when a raw string contains \".
        QTest::newRow("quote") << QStringLiteral("say \"hi\"") << QByteArray("\"say \\\"hi\\\"\"");
        QTest::newRow("backslash") << QStringLiteral("a\\b") << QByteArray(R"("a\\b")");
        QTest::newRow("newline") << QStringLiteral("a\nb") << QByteArray(R"("a\nb")");
        QTest::newRow("tab") << QStringLiteral("a\tb") << QByteArray(R"("a\tb")");
        QTest::newRow("carriage return") << QStringLiteral("a\rb") << QByteArray(R"("a\rb")");
        QTest::newRow("control 0x01")
            << QString(QChar(0x01)) + QStringLiteral("x") << QByteArray(R"("\u0001x")");
        QTest::newRow("control 0x00") << QString(QChar(0x00)) << QByteArray(R"("\u0000")");
        // Non-ASCII text goes out as UTF-8 bytes, not as \u escapes.
        QTest::newRow("e acute") << QString(QChar(0xE9)) << QByteArray("\"\xC3\xA9\"");
        QTest::newRow("command glyph")
            << QString(QChar(0x2318)) + QStringLiteral("K") << QByteArray("\"\xE2\x8C\x98K\"");
        QTest::newRow("outside the BMP")
            << QString::fromUcs4(U"\U0001F3B5") << QByteArray("\"\xF0\x9F\x8E\xB5\"");
        QTest::newRow("slash kept") << QStringLiteral("a/b") << QByteArray(R"("a/b")");
    }

    void strings() {
        QFETCH(QString, value);
        QFETCH(QByteArray, expected);

        const auto out = OrderedJson(value).serialize(Style::Compact);
        QVERIFY(out.has_value());
        QCOMPARE(*out, expected);
    }

    void controlCharactersUseHexEscapes_data() {
        QTest::addColumn<QChar>("character");
        QTest::addColumn<QByteArray>("escape");

        QTest::newRow("vertical tab") << QChar(0x0B) << QByteArray(R"("\u000b")");
        QTest::newRow("unit separator") << QChar(0x1F) << QByteArray(R"("\u001f")");
        QTest::newRow("escape") << QChar(0x1B) << QByteArray(R"("\u001b")");
    }

    void controlCharactersUseHexEscapes() {
        QFETCH(QChar, character);
        QFETCH(QByteArray, escape);

        const auto out = OrderedJson(QString(character)).serialize(Style::Compact);
        QVERIFY(out.has_value());
        // JSON allows either case for the hex digits.
        QCOMPARE(out->toLower(), escape);
    }

    void stringsReadBack_data() { strings_data(); }

    void stringsReadBack() {
        QFETCH(QString, value);

        const auto out =
            OrderedJson(OrderedJson::Array{OrderedJson(value)}).serialize(Style::Compact);
        QVERIFY(out.has_value());
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(*out, &error);
        QCOMPARE(error.error, QJsonParseError::NoError);
        QCOMPARE(document.array().at(0).toString(), value);
    }

    void keysAreEscapedLikeStrings() {
        const OrderedJson value = OrderedJson::Object{
            {QStringLiteral("a\"b"), integer(1)},
            {QStringLiteral("c\\d\n"), integer(2)},
        };
        const auto out = value.serialize(Style::Compact);
        QVERIFY(out.has_value());
        // Not a raw string: moc loses track of the class when a raw string contains \".
        QCOMPARE(*out, QByteArray("{\"a\\\"b\":1,\"c\\\\d\\n\":2}"));

        const QJsonDocument document = QJsonDocument::fromJson(*out);
        QVERIFY(document.isObject());
        QCOMPARE(document.object().value(QStringLiteral("a\"b")).toInt(), 1);
        QCOMPARE(document.object().value(QStringLiteral("c\\d\n")).toInt(), 2);
    }
};

QTEST_GUILESS_MAIN(TestOrderedJson)
#include "tst_orderedjson.moc"
