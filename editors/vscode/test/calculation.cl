// SYNTAX TEST "source.norvane-cl" "functions"
  namespace Sales.Extras {
//^^^^^^^^^ keyword.control.section.norvane-cl
//          ^^^^^^^^^^^^ entity.name.namespace.norvane-cl
    float price(float discount) | 0.0 { /* one /* only */ return
//  ^^^^^ storage.type.norvane-cl
//        ^^^^^ entity.name.function.norvane-cl
//                                                        ^^^^^^ keyword.control.norvane-cl
    x := 1.5; // comment
//    ^^ keyword.operator.norvane-cl
//       ^^^ constant.numeric.norvane-cl
//            ^^^^^^^^^^ comment.line.double-slash.norvane-cl
