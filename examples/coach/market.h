/* What differs from market to market. Set from outside: -DMARKET_LENGTH=15
   and so on. */

#ifndef MARKET_LENGTH
#define MARKET_LENGTH 13 /* metres, the longest that the law allows */
#endif

#ifndef MARKET_DOORS
#define MARKET_DOORS 2 /* at least, when more than 50 sit in it */
#endif

/* One choice needs another. */
#define NEEDS(choice, other) ((choice)->(other))
