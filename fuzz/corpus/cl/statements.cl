namespace N { void f() {
  switch a { } switch a + b { case 1: x; break; case "s": case a ? b : c: { y; } default: z; ; }
  switch a { default: }
  while a { break; } while (a) b;
  do a; while b; do { a; } while (b); do while a b; while c; do if a b; while c;
  for (;;); for (a := 1; a < 2; a := a + 1) { b; } return a := b;
} }
