#ifndef KX_QDLGMAIN_H
#define KX_QDLGMAIN_H

#include <QDialog>
#include <functional>

class QDlgScreen;

// The container the host's widget holds: frameless, translucent, cannot be
// closed except by KXScreen_Release. Owns the gallery controller.
class QDlgMain : public QDialog
{
    Q_OBJECT
public:
    explicit QDlgMain(QWidget* parent = nullptr);
    ~QDlgMain() override;

    QDlgScreen* GetDlgScreenPtr() const { return m_pDlgScreen; }
    // Escape would hide a dialog; the gallery stays until it is released.
    void reject() override {}

    // Called when the dialog is destroyed by anyone but the module (its
    // parent, the host's widget, went first), with the gallery taken out of
    // the dialog so that it outlives it: host threads may be inside it.
    void setOnLost(std::function<void(QDlgScreen*)> onLost) { m_onLost = std::move(onLost); }
    // The module is about to delete the dialog itself: the gallery goes with it.
    void disown() { m_onLost = nullptr; }

protected:
    void closeEvent(QCloseEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QDlgScreen* m_pDlgScreen = nullptr;
    std::function<void(QDlgScreen*)> m_onLost;
};

#endif
