// In which form a file is.
#ifndef NORVANE_PM_FORMS_H
#define NORVANE_PM_FORMS_H

#include <string>

#include "options.h"

namespace norvane::driver {

// The form of a file, by its extension, if the options do not say it.
ModelForm model_form(ModelForm said, const std::string& file);
// The same for a file that is converted from, which may be a model in another language.
ModelForm foreign_form(ModelForm said, const std::string& file);
CalcForm calculation_form(CalcForm said, const std::string& file);

} // namespace norvane::driver

#endif
