/* The differences between markets, set on the command line:
   -DMARKET_LENGTH=15 and so on. */

#ifndef MARKET_LENGTH
#define MARKET_LENGTH 13 /* metres, the legal maximum */
#endif

#ifndef MARKET_DOORS
#define MARKET_DOORS 2 /* the minimum for more than 50 seats */
#endif

/* One choice needs another. */
#define NEEDS(choice, other) ((choice)->(other))
