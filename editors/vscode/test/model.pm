// SYNTAX TEST "source.norvane-pm" "names, types and rules"
  #include "parts.pm"
//^^^^^^^^ keyword.control.directive.norvane-pm
//         ^^^^^^^^^^ string.quoted.double.norvane-pm
variable public size : array 2 of [0..9];
// <-------- keyword.control.section.norvane-pm
//       ^^^^^^ storage.modifier.norvane-pm
//              ^^^^ variable.other.norvane-pm
//                     ^^^^^ storage.type.norvane-pm
//                                  ^^ keyword.operator.norvane-pm
  rule not true -> "a\"b" = x; /* outer /* inner */ still */ public
//     ^^^ keyword.operator.word.norvane-pm
//         ^^^^ constant.language.norvane-pm
//                   ^^ constant.character.escape.norvane-pm
//                                                  ^^^^^ comment.block.norvane-pm
//                                                           ^^^^^^ storage.modifier.norvane-pm
