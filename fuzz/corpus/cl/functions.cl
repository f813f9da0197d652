namespace N {
  void f() { }
  boolean g(boolean a, integer b, float c, string d, void e) { integer x; string y := "s"; void z; ; }
  string h(integer a) | a { integer b; { ; {} } }
  float i(float a) = a / 2;
  void j(float a) : external "lib \"x\"";
}
