" Calculations.
if exists('b:current_syntax') | finish | endif
syntax match norvaneComment '//.*$'
syntax region norvaneComment start='/\*' end='\*/'
syntax region norvaneString start='"' skip='\\.' end='"'
syntax keyword norvaneSection namespace external
syntax keyword norvaneType boolean integer float string void
syntax keyword norvaneControl if then else switch case default break while do for return
syntax keyword norvaneOperator and or xor not
syntax keyword norvaneConstant true false
syntax match norvaneFunction '\<\h\w*\ze\s*('
syntax match norvaneNumber '\<\d\+\(\.\d\+\)\?\>'
highlight default link norvaneComment Comment
highlight default link norvaneString String
highlight default link norvaneSection Statement
highlight default link norvaneType Type
highlight default link norvaneControl Conditional
highlight default link norvaneOperator Operator
highlight default link norvaneConstant Boolean
highlight default link norvaneFunction Function
highlight default link norvaneNumber Number
let b:current_syntax = 'norvane_cl'
