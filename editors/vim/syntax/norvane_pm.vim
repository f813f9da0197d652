" Product models.
if exists('b:current_syntax') | finish | endif
syntax match norvaneDirective '^\s*#.*$' contains=norvaneComment,norvaneString
syntax region norvaneComment start='/\*' end='\*/' contains=norvaneComment
syntax region norvaneString start='"' skip='\\.' end='"'
syntax keyword norvaneSection constant type variable rule
syntax keyword norvaneModifier public private
syntax keyword norvaneType boolean integer float string array of optional
syntax keyword norvaneControl if then else case default esac forall exist sum product in
syntax keyword norvaneOperator and or xor not order
syntax keyword norvaneConstant true false SOME NONE
syntax match norvaneNumber '\<\d\+\(\.\d\+\)\?\>'
highlight default link norvaneDirective PreProc
highlight default link norvaneComment Comment
highlight default link norvaneString String
highlight default link norvaneSection Statement
highlight default link norvaneModifier StorageClass
highlight default link norvaneType Type
highlight default link norvaneControl Conditional
highlight default link norvaneOperator Operator
highlight default link norvaneConstant Boolean
highlight default link norvaneNumber Number
let b:current_syntax = 'norvane_pm'
