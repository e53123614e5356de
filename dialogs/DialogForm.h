#pragma once

class QDialog;

/// A new form in @p dialog, with its widgets made: for members that need them from their own
/// construction on. The dialog deletes it.
template <typename Form>
Form* makeForm(QDialog* dialog)
{
    auto* form = new Form;
    form->setupUi(dialog);
    return form;
}
