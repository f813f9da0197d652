namespace N { void f() {} void f(integer a) {} void g() {} void f() = 1; }
namespace M { void f() {} }
namespace N { void g() {} void h() {} }
