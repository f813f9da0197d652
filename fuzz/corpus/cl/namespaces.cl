namespace A.2.x { void f() {} } namespace 2nd { void f() {} } namespace "b c" { void f() {} }
namespace 007.x.3d."".9 { void f() {} } namespace A . 2 . x { void g() {} } namespace 7 { void f() {} }
