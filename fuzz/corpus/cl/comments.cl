namespace N { // a comment /* "
  integer/**/f(){/* a /* " // b **/return/***/1;/*/ * /*/}//
  boolean ifx() = not_ and notx or If xor TRUE and _ or x1__ or falsey;
  integer g() = a<-1 + a- -b <->c<>d->e<=e xor f>=f^g%h | i ? j:k;
}
