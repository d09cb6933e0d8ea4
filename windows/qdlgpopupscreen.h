#ifndef KX_QDLGPOPUPSCREEN_H
#define KX_QDLGPOPUPSCREEN_H

#include <QDialog>

class QFrame;
class QWidget;
class QMouseEvent;
class QResizeEvent;

// Frameless, non-modal shell for one video area in a narrow window of its own:
// a title strip over a framed screen area, coloured by the skin in force when
// the dialog is created.
class QDlgPopupScreen : public QDialog
{
    Q_OBJECT
public:
    // The dialog's form: a background frame holding the title strip and the
    // screen frame. Written by hand in the shape the form tools produce.
    struct Ui_QDlgPopupScreen
    {
        QFrame* frameBak = nullptr;
        QWidget* title = nullptr;
        QFrame* frameScreen = nullptr;

        void setupUi(QDialog* pDialog);
        void retranslateUi(QDialog* pDialog);
    };

    explicit QDlgPopupScreen(QWidget* parent);
    ~QDlgPopupScreen() override;

    // Where a video tile is to be placed.
    QFrame* getScreenFrame() const;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    Ui_QDlgPopupScreen* ui;
};

#endif
