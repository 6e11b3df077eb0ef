#include "UnattendedAnswer.h"

SPW_CMessageBox::Answer answerThatGoesOn(SPW_CMessageBox::Buttons buttons) {
    switch (buttons) {
        case SPW_CMessageBox::kRetryCancel:
            return SPW_CMessageBox::kAnswerCancel;
        case SPW_CMessageBox::kAbortRetryIgnore:
            return SPW_CMessageBox::kAnswerIgnore;
        default:
            return SPW_CMessageBox::kAnswerOk;
    }
}
