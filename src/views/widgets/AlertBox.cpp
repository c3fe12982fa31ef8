#include "views/widgets/AlertBox.h"

#include "models/UserAlert.h"

#include <QMessageBox>
#include <QPushButton>

namespace AlertBox {

void show(const UserAlert& alert) {
    auto* box =
        new QMessageBox(QMessageBox::Information, QStringLiteral("Scrubline"), alert.messageText);
    box->setInformativeText(alert.informativeText);
    box->addButton(alert.buttonTitle, QMessageBox::AcceptRole);
    box->setAttribute(Qt::WA_DeleteOnClose);
    // Modal to the user, but shown without a nested event loop: hotkeys and seeks go on while
    // it is open.
    box->setWindowModality(Qt::ApplicationModal);
    box->show();
    box->raise();
    box->activateWindow();
}

} // namespace AlertBox
