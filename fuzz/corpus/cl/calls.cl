namespace N { void f(integer a) { g(); a(); a.b(); a . b . c(a); g(1, 2 + 3, h(a)); f(,a); f(,1,2);
  Calc.HasFunction("N", "f"); } }
