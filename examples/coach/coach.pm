/* A touring coach, split over files: the main file.

   norvane-pm rules coach.pm
   norvane-pm rules -DARTICULATED coach.pm

   Each file holds the constants, types, variables and rules of one subject;
   sections may come as often as they like. */

#include "market.h"
#include "body.pm"
#include "drive.pm"
#include "seating.pm"

variable
  public brochure_colour : string;

rule
  /* What the brochure calls the colour is what the body is painted in. The
     part of a label in braces is not shown: seats come in black too. */
  brochure_colour = paint;
