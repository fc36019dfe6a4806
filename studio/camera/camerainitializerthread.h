#pragma once

#include <QString>
#include <QThread>

namespace Vorta {

class VortaInterface;

/// Connects the controller's chosen camera away from the GUI thread, which leaves that camera alone meanwhile.
class VortaCameraInitializerThread : public QThread {
    Q_OBJECT

public:
    explicit VortaCameraInitializerThread(VortaInterface& controller);

Q_SIGNALS:
    void initialized();
    void initializationFailed(QString errorMessage);

protected:
    void run() override;

private:
    VortaInterface& controller_;
};

} // namespace Vorta
