#ifndef KX_QDLGMAIN_H
#define KX_QDLGMAIN_H

#include <QDialog>

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

protected:
    void closeEvent(QCloseEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QDlgScreen* m_pDlgScreen = nullptr;
};

#endif
