#include "ShownTexts.h"

bool ShownTexts::isNew(const SPW_CString& text) {
    for (int i = 0; i < m_texts.numberOfElements(); ++i) {
        if (m_texts[i] == text) {
            return false;
        }
    }
    if (m_texts.numberOfElements() == kRemembered) {
        m_texts.removeElementAt(0);
    }
    m_texts.append(text);
    return true;
}
