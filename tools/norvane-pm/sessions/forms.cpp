#include "forms.h"

#include "norvane/proj.hpp"

namespace norvane::driver {

ModelForm model_form(ModelForm said, const std::string& file) {
    if (said != ModelForm::unknown) return said;
    switch (util_get_filetype(file.c_str())) {
    case FILETYPE_PM: return ModelForm::source;
    case FILETYPE_XML: return ModelForm::xml;
    default: return ModelForm::unknown;
    }
}

CalcForm calculation_form(CalcForm said, const std::string& file) {
    if (said != CalcForm::unknown) return said;
    switch (util_get_filetype(file.c_str())) {
    case FILETYPE_CL: return CalcForm::source;
    case FILETYPE_CLX: return CalcForm::xml;
    case FILETYPE_MUB: return CalcForm::package;
    default: return CalcForm::unknown;
    }
}

} // namespace norvane::driver
