#ifndef KX_QDLGPICINPIC_H
#define KX_QDLGPICINPIC_H

#include <QDialog>

struct tagPersonInfo;

// The floating picture-in-picture window. It stays hidden until the host asks
// for it; the gallery tells it when a participant leaves.
class QDlgPicInPic : public QDialog
{
    Q_OBJECT
public:
    explicit QDlgPicInPic(QWidget* parent = nullptr);
    ~QDlgPicInPic() override;

    // Forgets a participant that is about to be freed.
    void dropPerson(tagPersonInfo* person);
    tagPersonInfo* person() const { return m_pPerson; }
    void setPerson(tagPersonInfo* person);

private:
    tagPersonInfo* m_pPerson = nullptr;
};

#endif
