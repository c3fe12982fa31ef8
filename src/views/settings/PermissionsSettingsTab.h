#pragma once

#include "models/PermissionItem.h"

#include <QWidget>

#include <memory>
#include <vector>

class DesktopIntegration;
class PermissionChecker;
class QPushButton;
class Spinner;
class SymbolView;
class TintedLabel;
struct PlatformTexts;

// The settings tab that shows whether each media target may be controlled and whether the
// keyboard can be had system-wide, and leads to the system's settings. It owns a checker of its
// own and asks it again each time it appears; it never probes by itself otherwise.
class PermissionsSettingsTab : public QWidget {
    Q_OBJECT

public:
    PermissionsSettingsTab(std::unique_ptr<PermissionChecker> checker, DesktopIntegration& desktop,
                           QWidget* parent = nullptr);
    ~PermissionsSettingsTab() override;

    PermissionChecker& checker() { return *m_checker; }

    // What a status is called, and the symbol it is shown with (none for "checking", which
    // spins instead).
    static QString statusText(PermissionStatus status);
    static QString statusSymbol(PermissionStatus status);

    // Names the means by which hotkeys work, where the platform has more than one, in place of
    // the platform's word for granted.
    void setAccessibilityGrantedText(const QString& text);

    // Asks the checker again, unforced, and reads accessibility anew.
    void refresh();

protected:
    void showEvent(QShowEvent* event) override;

private:
    struct Row {
        PermissionItem item;
        QWidget* widget = nullptr;
        SymbolView* icon = nullptr;
        Spinner* spinner = nullptr;
        TintedLabel* status = nullptr;
        TintedLabel* hint = nullptr;
    };

    QWidget* makeAccessibilitySection();
    QWidget* makeItemSection(const QString& title, PermissionItem::Kind kind,
                             const QString& footnote);
    void makeRow(const PermissionItem& item, QWidget* parent);
    QWidget* makeButtons();
    void showState();
    void showRow(Row& row);

    std::unique_ptr<PermissionChecker> m_checker;
    DesktopIntegration& m_desktop;
    const PlatformTexts& m_texts;
    QString m_accessibilityGrantedText;
    std::vector<Row> m_rows;
    QList<QWidget*> m_rowWidgets;
    SymbolView* m_accessibilityIcon = nullptr;
    SymbolView* m_accessibilitySymbol = nullptr;
    TintedLabel* m_accessibilityDetail = nullptr;
    TintedLabel* m_accessibilityStatus = nullptr;
    TintedLabel* m_accessibilityHint = nullptr;
    QPushButton* m_openAccessibility = nullptr;
    QPushButton* m_check = nullptr;
    Spinner* m_checking = nullptr;
    QPushButton* m_openSettings = nullptr;
};
