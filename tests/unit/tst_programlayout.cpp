// Where the `scrubline` command finds the program it starts, and the program the command that
// starts it: in an installed layout, in the build tree, and where the program runs alone.
#include "platform/linux/ProgramLayout.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

namespace {

std::string std8(const QString& path) {
    return path.toStdString();
}

bool makeExecutable(const QString& path, bool executable = true) {
    if (!QDir().mkpath(QFileInfo(path).absolutePath())) {
        return false;
    }
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    file.write("#!/bin/sh\n");
    file.close();
    QFile::Permissions permissions = QFile::ReadOwner | QFile::WriteOwner;
    if (executable) {
        permissions |= QFile::ExeOwner;
    }
    return file.setPermissions(permissions);
}

} // namespace

class TestProgramLayout : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_prefix;

    QString command() const { return m_prefix.path() + QStringLiteral("/bin/scrubline"); }
    QString program() const {
        return m_prefix.path() + QStringLiteral("/libexec/scrubline/scrubline");
    }

private slots:
    void init() {
        QVERIFY(m_prefix.isValid());
        QVERIFY(makeExecutable(command()));
        QVERIFY(makeExecutable(program()));
    }

    void theCommandStartsTheProgramInLibexec() {
        QCOMPARE(QString::fromStdString(ProgramLayout::programFor(std8(command()))), program());
    }

    void theInstalledProgramIsStartedByTheCommand() {
        QCOMPARE(QString::fromStdString(ProgramLayout::commandFor(std8(program()))), command());
    }

    void aProgramWithoutACommandBesideItHasNone() {
        QVERIFY(QFile::remove(command()));
        QCOMPARE(ProgramLayout::commandFor(std8(program())), std::string());
        const QString elsewhere = m_prefix.path() + QStringLiteral("/opt/scrubline");
        QVERIFY(makeExecutable(elsewhere));
        QCOMPARE(ProgramLayout::commandFor(std8(elsewhere)), std::string());
    }

    void aCommandThatCannotRunIsNone() {
        QVERIFY(QFile::remove(command()));
        QVERIFY(makeExecutable(command(), false));
        QCOMPARE(ProgramLayout::commandFor(std8(program())), std::string());
    }

    // The build puts each where it likes; the two still find each other.
    void theBuildTreesTwoFindEachOther() {
        const QString builtCommand = QStringLiteral(SCRUBLINE_BINARY);
        const QString builtProgram = QStringLiteral(SCRUBLINE_PROGRAM);
        QVERIFY(QFileInfo(builtCommand).canonicalFilePath() !=
                QFileInfo(builtProgram).canonicalFilePath());
        QCOMPARE(QString::fromStdString(ProgramLayout::programFor(std8(builtCommand))),
                 builtProgram);
        QCOMPARE(QString::fromStdString(ProgramLayout::commandFor(std8(builtProgram))),
                 builtCommand);
    }

    void selfIsThisExecutable() {
        QCOMPARE(QString::fromStdString(ProgramLayout::self()),
                 QCoreApplication::applicationFilePath());
    }
};

QTEST_GUILESS_MAIN(TestProgramLayout)
#include "tst_programlayout.moc"
