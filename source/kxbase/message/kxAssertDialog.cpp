#include "kxbase/message/kxAssertDialog.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/platform/kxPlatformDialog.h"

kxAssertAnswer kxAssertDialog::ask(const kxString& title, const kxString& text)
{
    const kxBodyGuard guard(question_);
    return kxPlatformDialogAskRetry(title.text(), text.text()) ? KX_ASSERT_RETRY : KX_ASSERT_IGNORE;
}
