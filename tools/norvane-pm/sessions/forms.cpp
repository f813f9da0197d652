#include "forms.h"

#include <utility>

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

ModelForm foreign_form(ModelForm said, const std::string& file) {
    if (said != ModelForm::unknown) return said;
    for (const auto& [extension, form] :
         {std::pair(".cnf", ModelForm::dimacs), std::pair(".dimacs", ModelForm::dimacs),
          std::pair(".uvl", ModelForm::uvl)})
        if (file.ends_with(extension)) return form;
    return model_form(said, file);
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
