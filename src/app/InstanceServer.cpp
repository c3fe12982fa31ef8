#include "InstanceServer.h"

#include "ScrublineApp.h"

#include <QCoreApplication>

InstanceServer::InstanceServer(std::unique_ptr<SingleInstance> instance)
    : m_instance(std::move(instance)) {}

InstanceServer::~InstanceServer() = default;

bool InstanceServer::claim() {
    return m_instance->claim({
        .reopen =
            [this] {
                if (m_app) {
                    m_app->reopen();
                }
            },
        .seek =
            [this](double seconds, const SingleInstance::Reply& reply) {
                if (!m_app) {
                    reply({.acted = false, .line = "Scrubline is starting"});
                    return;
                }
                m_app->seek(seconds, [reply](const MediaController::Served& served) {
                    reply({.acted = served.acted, .line = served.line.toStdString()});
                });
            },
        .showSettings =
            [this] {
                if (m_app) {
                    m_app->showSettings();
                }
            },
        .quit = [] { QCoreApplication::quit(); },
    });
}

void InstanceServer::serve(ScrublineApp* app) {
    m_app = app;
}
