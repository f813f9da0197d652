/* A truck programme, from 12 to 40 tonnes: a model of real size.

   It is divided by the assemblies of the vehicle. Each declares its types, its
   variables, and the rules that connect it to the assemblies before it. */

/* ------------------------------------------------------- market and use */

constant
  MAX_AXLES   : 4;
  MAX_TANKS   : 3;
  MAX_BODY_KG : 24000;
  ROUND       : 100;                 /* lengths count in decimetres */

type
  Market   : [north, central, south, island, export_dry, export_wet];
  Use      : [long_haul, regional, urban, construction, forestry, municipal];
  Vehicle  : [rigid, tractor];
  Emission : [stage_4, stage_5, stage_6];
  Language : ["Deutsch", "English", "Italiano", "Norsk", "Suomi"];

variable
  public  market            : Market;
  public  use               : Use;
  public  vehicle           : Vehicle;
  public  emission          : Emission;
  public  language          : Language;
  public  gross_tonnes      : [0..44];
  public  left_hand_traffic : boolean;
  public  dangerous_goods   : boolean;
  public  customer_no       : integer;
  public  order_text        : string;
  private cold_climate      : boolean;
  private hot_climate       : boolean;
  private off_road          : boolean;
  private law_is_strict     : boolean;

rule
  gross_tonnes >= 12;
  gross_tonnes <= 40 or market = north or use = forestry;
  customer_no >= 1000;
  law_is_strict <-> market = north or market = central or market = south;
  law_is_strict -> emission = stage_6;
  market = island -> emission <> stage_4;
  left_hand_traffic <-> market = island or market = export_wet;
  cold_climate <-> market = north;
  hot_climate <-> market = south or market = export_dry or market = export_wet;
  off_road <-> use = construction or use = forestry;
  use = forestry -> market = north or market = central;
  use = forestry -> vehicle = rigid and gross_tonnes >= 26;
  use = municipal -> vehicle = rigid;
  use = urban -> gross_tonnes <= 26;
  use = long_haul -> gross_tonnes >= 18;
  dangerous_goods -> use = long_haul or use = regional;
  market = island -> language = "English";
  market = south -> language = "Italiano";
  market = north -> language = "Norsk" or language = "Suomi" or language = "English";
  market = central -> language = "Deutsch" or language = "English";
  order_text = "fleet" -> customer_no > 9999;
  order_text = "demonstrator" -> customer_no = 1000;

/* --------------------------------------------------------------- chassis */

type
  Frame      : [light_frame, standard_frame, heavy_frame, low_frame];
  RearEnd    : [straight_end, sloped_end, lowered_end];
  CrossBar   : [no_cross_bar, front_cross_bar, rear_cross_bar, both_cross_bars];

variable
  public  frame             : Frame;
  public  rear_end          : RearEnd;
  public  cross_bars        : CrossBar;
  public  wheelbase         : [0..67];      /* decimetres */
  public  overhang          : [0..40];
  public  side_guards       : boolean;
  public  rear_underrun     : boolean;
  public  front_underrun    : boolean;
  public  skid_plate        : boolean;
  public  tow_eye_front     : boolean;
  public  tow_eye_rear      : boolean;
  public  chassis_steps     : boolean;
  public  catwalk           : boolean;
  public  hole_pattern      : boolean;
  public  mud_flaps         : boolean;
  public  spray_suppression : boolean;
  private total_length      : [0..150];

rule
  wheelbase >= 30;
  overhang >= 6;
  total_length = wheelbase + overhang + 14;
  vehicle = tractor -> wheelbase <= 45 and overhang <= 10;
  vehicle = rigid -> total_length <= 120;
  frame = light_frame -> gross_tonnes <= 18 and not off_road;
  frame = low_frame -> vehicle = tractor and use <> construction;
  frame = low_frame -> use = long_haul or use = regional;
  frame = heavy_frame -> gross_tonnes >= 26;
  off_road -> frame = standard_frame or frame = heavy_frame;
  gross_tonnes > 32 and vehicle = rigid -> frame = heavy_frame;
  rear_end = sloped_end -> vehicle = tractor;
  rear_end = lowered_end -> vehicle = rigid and not off_road;
  law_is_strict -> side_guards and rear_underrun and front_underrun;
  side_guards -> use <> forestry or law_is_strict;
  skid_plate <-> off_road;
  skid_plate -> not (frame = low_frame);
  off_road -> tow_eye_front and tow_eye_rear;
  catwalk -> vehicle = tractor;
  catwalk -> chassis_steps;
  cross_bars = both_cross_bars -> frame <> light_frame;
  hole_pattern -> vehicle = rigid;
  law_is_strict or market = island -> mud_flaps;
  spray_suppression -> mud_flaps;
  law_is_strict and use = long_haul -> spray_suppression;
  overhang > 30 -> rear_end = straight_end;

/* ------------------------------------------------------- axles and wheels */

type
  Suspension : [leaf, parabolic, air];
  AxleKind   : [steered, driven, dead];
  Tyre       : [tyre_17, tyre_19, tyre_22, tyre_22_wide, tyre_24];
  Tread      : [road_tread, winter_tread, mixed_tread, mud_tread];

  Axle : {
    public  fitted     : boolean;
    public  kind       : AxleKind;
    public  suspension : Suspension;
    public  tyre       : Tyre;
    public  tread      : Tread;
    public  twin       : boolean;
    public  liftable   : boolean;
    public  tonnes     : [0..13];
    public  disc       : boolean;
    public  sensor     : optional {
      public  pressure : boolean;
      public  wear     : boolean;
    rule
      pressure or wear;
      wear -> disc;                        /* drums have no wear sensor */
    };
    private heavy      : boolean;
  rule
    not fitted -> tonnes = 0 and not twin and not liftable and sensor = NONE;
    fitted -> tonnes >= 4;
    heavy <-> tonnes > 9;
    heavy -> twin or tyre = tyre_22_wide;
    twin -> kind <> steered;
    twin -> tyre <> tyre_22_wide;
    liftable -> kind = dead or kind = steered;
    liftable -> suspension = air;
    suspension = air -> tyre <> tyre_24;
    tyre = tyre_17 -> tonnes <= 6;
    tyre = tyre_19 -> tonnes <= 9;
    tread = mud_tread -> tyre = tyre_22 or tyre = tyre_24;
    suspension = leaf -> not liftable and tonnes >= 6 or not fitted;
  };

variable
  public  axles            : array MAX_AXLES of Axle;
  public  steel_rims       : boolean;
  public  alloy_rims       : boolean;
  public  spare_wheel      : boolean;
  public  wheel_covers     : boolean;
  public  tyre_fill        : boolean;
  public  snow_chains      : boolean;
  public  auto_chains      : boolean;
  public  front_level      : boolean;
  public  hub_reduction    : boolean;
  public  axle_weight_info : boolean;
  private axle_count       : [0..MAX_AXLES];
  private driven_axles     : [0..MAX_AXLES];
  private capacity         : [0..52];

rule
  axle_count = sum i in [0..MAX_AXLES - 1] : (if axles[i].fitted then 1 else 0);
  driven_axles = sum i in [0..MAX_AXLES - 1] :
    (if axles[i].fitted and axles[i].kind = driven then 1 else 0);
  capacity = sum i in [0..MAX_AXLES - 1] : (axles[i].tonnes);
  axles[0].fitted and axles[1].fitted;
  axles[3].fitted -> axles[2].fitted;
  axles[0].kind = steered;
  axles[0].tonnes <= 9;
  axles[1].kind = driven or axle_count >= 3;
  driven_axles >= 1;
  capacity >= gross_tonnes or vehicle = tractor;
  vehicle = tractor -> axle_count <= 3 and capacity >= 16;
  gross_tonnes > 18 and vehicle = rigid -> axle_count >= 3;
  gross_tonnes > 28 and vehicle = rigid -> axle_count = 4;
  off_road and axle_count >= 3 -> driven_axles >= 2;
  forall i in [0..MAX_AXLES - 1] :
    (cold_climate and axles[i].fitted -> axles[i].tread = winter_tread or axles[i].tread = mud_tread);
  forall i in [0..MAX_AXLES - 1] :
    (use = long_haul and axles[i].fitted -> axles[i].suspension <> leaf or i = 0);
  forall i in [1..MAX_AXLES - 1] :
    (axles[i].fitted -> axles[i].disc = axles[i - 1].disc);
  exist i in [0..MAX_AXLES - 1] : (axles[i].liftable) -> axle_count >= 3;
  steel_rims xor alloy_rims;
  alloy_rims -> not off_road;
  wheel_covers -> steel_rims;
  spare_wheel -> vehicle = rigid or use <> urban;
  tyre_fill -> off_road or use = municipal;
  snow_chains -> cold_climate or market = central;
  auto_chains -> driven_axles = 1 and not snow_chains;
  hub_reduction -> driven_axles >= 1 and off_road or gross_tonnes > 40;
  front_level -> axles[0].suspension = air;
  axle_weight_info -> exist i in [1..MAX_AXLES - 1] : (axles[i].suspension = air);
  dangerous_goods -> forall i in [0..1] : (axles[i].disc);

/* ---------------------------------------------------- engine and exhaust */

type
  Engine  : [d_8_250, d_8_320, d_11_380, d_11_430, d_13_480, d_13_540, d_16_650, g_9_300, g_13_460];
  Intake  : [front_intake, roof_intake, side_intake];
  Exhaust : [side_exhaust, stack_exhaust, rear_exhaust];
  Fan     : [viscous_fan, electric_fan, hydraulic_fan];

variable
  public  engine            : Engine;
  public  intake            : Intake;
  public  exhaust           : Exhaust;
  public  fan               : Fan;
  public  power_kw          : integer;
  public  torque_nm         : integer;
  public  compression       : float;
  public  engine_brake      : boolean;
  public  block_heater      : boolean;
  public  start_stop        : boolean;
  public  cyclone_filter    : boolean;
  public  oil_sensor        : boolean;
  public  silent_mode       : boolean;
  public  encapsulation     : boolean;
  public  speed_limiter     : boolean;
  public  eco_roll          : boolean;
  public  particle_trap     : boolean;
  public  manual_burn_off   : boolean;
  public  scr               : boolean;
  public  spark_arrester    : boolean;
  public  engine_gateway    : boolean;
  private gas_engine        : boolean;
  private large_engine      : boolean;

rule
  gas_engine <-> engine = g_9_300 or engine = g_13_460;
  large_engine <-> order(engine) >= order(d_13_480) and engine <> g_9_300;
  case engine of
    d_8_250  then power_kw > 180 and power_kw <= 190 |
    d_8_320  then power_kw > 230 and power_kw <= 240 |
    d_11_380 then power_kw > 275 and power_kw <= 285 |
    d_11_430 then power_kw > 310 and power_kw <= 320 |
    d_13_480 then power_kw > 350 and power_kw <= 360 |
    d_13_540 then power_kw > 390 and power_kw <= 400 |
    d_16_650 then power_kw > 470 and power_kw <= 480 |
    g_9_300  then power_kw > 215 and power_kw <= 225 |
    default power_kw > 330 and power_kw <= 340
  esac;
  power_kw > 320 -> torque_nm >= 2300;
  power_kw > 240 and power_kw <= 320 -> torque_nm >= 1800;
  torque_nm >= 1000 and torque_nm <= 3500;
  gas_engine -> compression < 13.0;
  not gas_engine -> compression >= 16.0 and compression < 18.5;
  gas_engine -> emission = stage_6 and not off_road;
  engine = d_16_650 -> gross_tonnes >= 26 and emission <> stage_4;
  gross_tonnes > 26 -> engine <> d_8_250 and engine <> d_8_320;
  gross_tonnes >= 40 -> large_engine or engine = d_11_430;
  gross_tonnes <= 15 -> not large_engine;
  use = urban -> not (engine = d_16_650);
  emission = stage_6 -> particle_trap and scr or gas_engine;
  emission = stage_5 -> scr;
  particle_trap -> emission <> stage_4;
  manual_burn_off -> particle_trap;
  off_road and particle_trap -> manual_burn_off;
  intake = roof_intake -> use <> long_haul;
  off_road -> intake <> front_intake;
  market = export_dry -> cyclone_filter;
  cyclone_filter -> intake = roof_intake or intake = side_intake;
  exhaust = stack_exhaust -> not (vehicle = rigid and use = long_haul);
  dangerous_goods -> exhaust = side_exhaust and spark_arrester;
  use = forestry -> exhaust = stack_exhaust and spark_arrester;
  spark_arrester -> exhaust <> rear_exhaust;
  cold_climate -> block_heater;
  block_heater -> not hot_climate;
  hot_climate and large_engine -> fan = hydraulic_fan or fan = viscous_fan;
  fan = electric_fan -> not large_engine;
  start_stop -> use = urban or use = municipal or use = regional;
  start_stop -> not (fan = viscous_fan);
  silent_mode -> encapsulation and use <> construction;
  law_is_strict and use = municipal -> silent_mode;
  law_is_strict -> speed_limiter;
  use = long_haul and not gas_engine -> engine_brake;
  large_engine -> engine_brake or gas_engine;
  eco_roll -> speed_limiter and not off_road;
  engine_gateway <-> order_text = "fleet" or use = municipal;

/* ----------------------------------------------------------------- fuel */

type
  TankSide : [left_side, right_side];
  TankMade : [steel_tank, aluminium_tank, gas_bottles, cryogenic_tank];

  Tank : {
    public  fitted   : boolean;
    public  side     : TankSide;
    public  made     : TankMade;
    public  litres   : [0..900];
    public  lockable : boolean;
    public  heated   : boolean;
    private pressure : boolean;
  rule
    fitted <-> litres > 0;
    pressure <-> made = gas_bottles or made = cryogenic_tank;
    pressure -> litres <= 500 and not heated;
    made = steel_tank -> litres <= 600;
    heated -> litres >= 150;
    fitted -> litres >= 60;
  };

variable
  public  tanks            : array MAX_TANKS of Tank;
  public  urea_litres      : [0..130];
  public  urea_heated      : boolean;
  public  fuel_filter_hot  : boolean;
  public  water_separator  : boolean;
  public  theft_guard      : boolean;
  public  fuel_cooler      : boolean;
  public  fast_fill        : boolean;
  private fuel_litres      : [0..2700];

rule
  fuel_litres = sum i in [0..MAX_TANKS - 1] : (tanks[i].litres);
  tanks[0].fitted;
  tanks[2].fitted -> tanks[1].fitted;
  forall i in [0..MAX_TANKS - 1] :
    (tanks[i].fitted -> (gas_engine <-> tanks[i].made = gas_bottles or tanks[i].made = cryogenic_tank));
  forall i in [1..MAX_TANKS - 1] :
    (tanks[i].fitted and tanks[i - 1].fitted -> tanks[i].made = tanks[i - 1].made);
  tanks[0].side = left_side -> not (tanks[1].fitted and tanks[1].side = left_side and wheelbase < 36);
  dangerous_goods -> fuel_litres <= 1500;
  use = long_haul -> fuel_litres >= 400;
  use = urban -> fuel_litres <= 600;
  wheelbase < 36 -> fuel_litres <= 900;
  wheelbase < 33 -> not tanks[2].fitted;
  scr <-> urea_litres > 0;
  scr -> urea_litres >= 20;
  use = long_haul and scr -> urea_litres >= 50;
  urea_heated -> scr;
  cold_climate and scr -> urea_heated;
  fuel_filter_hot <-> cold_climate and not gas_engine;
  market = export_wet or market = export_dry -> water_separator or gas_engine;
  water_separator -> not gas_engine;
  theft_guard -> exist i in [0..MAX_TANKS - 1] : (tanks[i].lockable);
  forall i in [0..MAX_TANKS - 1] : (tanks[i].heated -> cold_climate);
  fuel_cooler -> hot_climate and not gas_engine;
  fast_fill -> not gas_engine and fuel_litres >= 800;

/* ------------------------------------------------- gearbox and driveline */

type
  Gearbox : [manual_6, manual_9, manual_16, automated_6, automated_12, automatic_6];
  PtoKind : [no_pto, gearbox_pto, engine_pto, split_pto];

variable
  public  gearbox           : Gearbox;
  public  pto               : PtoKind;
  public  pto_count         : [0..3];
  public  second_pto        : boolean;
  public  clutch_brake      : boolean;
  public  crawler_gear      : boolean;
  public  overdrive         : boolean;
  public  transfer_box      : boolean;
  public  low_range         : boolean;
  public  diff_lock_rear    : boolean;
  public  diff_lock_front   : boolean;
  public  diff_lock_between : boolean;
  public  retarder          : boolean;
  public  oil_cooler        : boolean;
  public  power_mode        : boolean;
  public  rocking_mode      : boolean;
  public  kick_down         : boolean;
  public  axle_ratio        : float;
  public  long_oil_drain    : boolean;
  private manual_box        : boolean;
  private front_driven      : boolean;

rule
  manual_box <-> gearbox = manual_6 or gearbox = manual_9 or gearbox = manual_16;
  front_driven <-> axles[0].kind = driven or transfer_box;
  transfer_box -> off_road or use = municipal;
  low_range -> transfer_box;
  power_kw > 240 -> gearbox <> manual_6 and gearbox <> automated_6;
  power_kw > 360 -> gearbox = automated_12 or gearbox = manual_16;
  gearbox = automatic_6 -> use = municipal or use = urban;
  gearbox = automatic_6 -> not (power_kw > 285);
  gas_engine -> gearbox = automatic_6 or gearbox = automated_12;
  use = municipal and gross_tonnes > 18 -> gearbox = automatic_6 or gearbox = automated_12;
  clutch_brake -> manual_box;
  crawler_gear -> gearbox = automated_12 or gearbox = manual_16;
  off_road and gearbox = automated_12 -> crawler_gear;
  overdrive -> use = long_haul or use = regional;
  axle_ratio > 2.0 and axle_ratio < 7.0;
  overdrive -> axle_ratio >= 2.8;
  use = long_haul -> axle_ratio < 3.5;
  off_road -> axle_ratio > 3.5;
  hub_reduction -> axle_ratio > 4.1;
  low_range and not overdrive -> axle_ratio < 5.3;
  gross_tonnes > 40 -> axle_ratio >= 3.08;
  diff_lock_between -> driven_axles >= 2;
  diff_lock_front -> front_driven;
  off_road -> diff_lock_rear;
  driven_axles >= 2 -> diff_lock_between;
  retarder -> gearbox <> manual_6 and gearbox <> automated_6;
  retarder -> oil_cooler;
  gross_tonnes >= 40 and market <> export_dry -> retarder or engine_brake;
  dangerous_goods -> retarder or engine_brake;
  power_mode -> not manual_box;
  rocking_mode -> not manual_box and (off_road or cold_climate);
  kick_down -> not manual_box;
  pto = no_pto <-> pto_count = 0;
  second_pto <-> pto_count >= 2;
  pto = gearbox_pto -> pto_count <= 2;
  pto = engine_pto -> large_engine or engine = d_11_430;
  pto = split_pto -> gearbox <> automatic_6;
  use = municipal -> pto <> no_pto;
  gearbox = automatic_6 and pto <> no_pto -> pto = engine_pto or pto_count = 1;
  long_oil_drain -> use = long_haul and not manual_box;

/* ------------------------------------------------- brakes and steering */

type
  BrakeAir : [one_circuit_dryer, heated_dryer, electronic_dryer];
  Steering : [left_wheel, right_wheel, dual_wheels];

variable
  public  brake_air        : BrakeAir;
  public  steering         : Steering;
  public  anti_lock        : boolean;
  public  stability        : boolean;
  public  emergency_brake  : boolean;
  public  hill_hold        : boolean;
  public  parking_electric : boolean;
  public  trailer_brake    : boolean;
  public  trailer_air_rear : boolean;
  public  extra_air_tank   : boolean;
  public  brake_blend      : boolean;
  public  pad_wear_info    : boolean;
  public  power_steering_2 : boolean;
  public  electric_steer   : boolean;
  public  rear_steer       : boolean;
  public  leather_wheel    : boolean;
  public  wheel_buttons    : boolean;
  public  air_horn         : boolean;

rule
  steering = right_wheel -> left_hand_traffic or use = municipal;
  left_hand_traffic -> steering <> left_wheel;
  steering = dual_wheels -> use = municipal;
  law_is_strict -> anti_lock and stability and emergency_brake;
  emergency_brake -> stability;
  stability -> anti_lock;
  hill_hold -> stability or not manual_box;
  parking_electric -> brake_air = electronic_dryer;
  cold_climate -> brake_air <> one_circuit_dryer;
  vehicle = tractor -> trailer_brake;
  trailer_air_rear -> vehicle = rigid;
  gross_tonnes > 32 -> extra_air_tank;
  exist i in [0..MAX_AXLES - 1] : (axles[i].suspension = air) -> extra_air_tank or brake_air = electronic_dryer;
  brake_blend -> retarder or engine_brake;
  brake_blend -> axles[0].disc;
  pad_wear_info -> axles[0].disc;
  pad_wear_info -> forall i in [0..1] : (axles[i].sensor = SOME and axles[i].sensor.SOME.wear);
  gross_tonnes > 32 and off_road -> power_steering_2;
  electric_steer -> not power_steering_2 and steering <> dual_wheels;
  rear_steer -> axle_count >= 3;
  rear_steer -> axles[2].kind = steered or axles[3].kind = steered;
  wheel_buttons -> steering <> dual_wheels;
  leather_wheel -> use = long_haul or use = regional or order_text = "demonstrator";
  air_horn -> use <> municipal;

/* -------------------------------------------------------- cab, outside */

type
  Cab       : [day_cab, extended_cab, sleeper_low, sleeper_high, crew_cab];
  CabMount  : [cab_springs, cab_air_rear, cab_air_full];
  Deflector : [no_deflector, fixed_deflector, set_deflector];
  Grille    : [standard_grille, robust_grille, forest_grille];
  Mirror    : [glass_mirrors, heated_mirrors, camera_mirrors];

variable
  public  cab              : Cab;
  public  cab_mount        : CabMount;
  public  deflector        : Deflector;
  public  grille           : Grille;
  public  mirrors          : Mirror;
  public  side_deflectors  : boolean;
  public  chassis_fairing  : boolean;
  public  sun_visor        : boolean;
  public  roof_hatch       : boolean;
  public  roof_rack        : boolean;
  public  rear_window      : boolean;
  public  door_window      : boolean;
  public  bull_bar         : boolean;
  public  lamp_bar         : boolean;
  public  steel_bumper     : boolean;
  public  tilt_electric    : boolean;
  public  tinted_glass     : boolean;
  public  front_step       : boolean;
  public  ladder           : boolean;
  public  wiper_rain       : boolean;
  public  window_heated    : boolean;
  private sleeper          : boolean;
  private high_cab         : boolean;

rule
  sleeper <-> cab = sleeper_low or cab = sleeper_high;
  high_cab <-> cab = sleeper_high;
  use = long_haul -> sleeper;
  use = urban or use = municipal -> not sleeper;
  cab = crew_cab -> vehicle = rigid and (use = municipal or use = construction);
  high_cab -> large_engine or engine = d_11_430 or gas_engine;
  high_cab -> not off_road;
  cab_mount = cab_air_full -> sleeper or use = regional;
  use = construction -> cab_mount <> cab_air_full;
  cab = crew_cab -> deflector = no_deflector;
  deflector = set_deflector -> vehicle = tractor;
  side_deflectors -> deflector <> no_deflector;
  chassis_fairing -> not off_road and side_guards;
  use = long_haul and vehicle = tractor -> deflector <> no_deflector and side_deflectors;
  grille = forest_grille <-> use = forestry;
  grille = robust_grille -> off_road;
  use = construction -> grille <> standard_grille;
  roof_hatch -> not (cab = sleeper_low and deflector <> no_deflector);
  roof_rack -> deflector = no_deflector;
  rear_window -> not sleeper;
  bull_bar -> market = export_dry or market = export_wet or use = forestry;
  bull_bar -> not emergency_brake;
  steel_bumper -> off_road;
  off_road and market <> central -> steel_bumper;
  lamp_bar -> bull_bar or roof_rack or cold_climate;
  door_window -> use = urban or use = municipal;
  law_is_strict and use = urban -> door_window;
  mirrors = camera_mirrors -> not off_road and emission = stage_6;
  cold_climate -> mirrors <> glass_mirrors and window_heated;
  hot_climate -> tinted_glass and sun_visor;
  high_cab -> tilt_electric;
  front_step -> use = construction or use = municipal;
  ladder -> roof_rack or intake = roof_intake;
  wiper_rain -> use <> forestry;

/* --------------------------------------------------------- cab, inside */

type
  SeatKind : [fixed_seat, spring_seat, air_seat, swivel_seat];
  Trim     : [cloth, vinyl, half_leather, leather];
  Bed      : [no_bed, fold_bed, full_bed];

  Seat : {
    public kind    : SeatKind;
    public trim    : Trim;
    public heated  : boolean;
    public cooled  : boolean;
    public belt_red : boolean;
    public armrest : boolean;
    public memory  : boolean;
  rule
    cooled -> trim = leather or trim = half_leather;
    memory -> kind = air_seat or kind = swivel_seat;
    armrest -> kind <> fixed_seat;
    heated or not cooled;
  };

variable
  public  driver_seat      : Seat;
  public  passenger_seat   : optional Seat;
  public  middle_seat      : boolean;
  public  lower_bed        : Bed;
  public  upper_bed        : Bed;
  public  bed_heated       : boolean;
  public  fridge           : boolean;
  public  microwave        : boolean;
  public  coffee_maker     : boolean;
  public  table            : boolean;
  public  wardrobe         : boolean;
  public  night_lock       : boolean;
  public  curtains         : boolean;
  public  rubber_floor     : boolean;
  public  carpet           : boolean;
  public  safe             : boolean;
  public  aux_heater       : boolean;
  public  aux_heater_water : boolean;
  public  climate_manual   : boolean;
  public  climate_auto     : boolean;
  public  park_cooler      : boolean;
  public  pollen_filter    : boolean;
  public  ash_tray         : boolean;
  public  crew_seats       : [0..5];

rule
  cab = crew_cab <-> crew_seats > 0;
  crew_seats > 0 -> crew_seats >= 3;
  sleeper <-> lower_bed <> no_bed;
  upper_bed <> no_bed -> sleeper;
  upper_bed = full_bed -> high_cab;
  bed_heated -> sleeper and aux_heater;
  use = long_haul -> driver_seat.kind = air_seat or driver_seat.kind = swivel_seat;
  driver_seat.kind <> fixed_seat;
  driver_seat.kind = swivel_seat -> sleeper or use = forestry;
  passenger_seat = SOME or cab <> crew_cab;
  passenger_seat = SOME and passenger_seat.SOME.cooled -> driver_seat.cooled;
  passenger_seat = SOME and passenger_seat.SOME.trim = leather -> driver_seat.trim = leather;
  middle_seat -> passenger_seat = SOME and not sleeper;
  fridge -> sleeper or use = regional;
  microwave or coffee_maker -> sleeper and fridge;
  table -> passenger_seat = SOME;
  wardrobe -> sleeper;
  night_lock -> sleeper;
  sleeper -> curtains;
  rubber_floor xor carpet;
  off_road -> rubber_floor;
  carpet -> driver_seat.trim <> vinyl;
  safe -> sleeper or use = municipal;
  cold_climate -> aux_heater;
  aux_heater_water -> aux_heater and block_heater;
  not (climate_manual and climate_auto);
  hot_climate -> climate_manual or climate_auto;
  park_cooler -> climate_auto and sleeper;
  hot_climate and use = long_haul -> park_cooler;
  pollen_filter -> climate_manual or climate_auto;
  cyclone_filter and climate_auto -> pollen_filter;
  ash_tray -> order_text <> "fleet";
  dangerous_goods -> not ash_tray;

/* ---------------------------------------------------- electrics and light */

type
  Battery : [battery_140, battery_180, battery_225, battery_gel];
  Lamp    : [halogen, xenon, diode];

variable
  public  battery         : Battery;
  public  headlamp        : Lamp;
  public  fog_lamps       : boolean;
  public  corner_lamps    : boolean;
  public  day_lamps       : boolean;
  public  work_lamps      : [0..6];
  public  beacons         : [0..4];
  public  light_sensor    : boolean;
  public  level_lamps     : boolean;
  public  washer_lamps    : boolean;
  public  main_switch     : boolean;
  public  adr_switch      : boolean;
  public  alternator_100  : boolean;
  public  alternator_150  : boolean;
  public  inverter        : boolean;
  public  socket_24       : [0..4];
  public  socket_12       : boolean;
  public  trailer_15_pole : boolean;
  public  trailer_abs     : boolean;
  public  alarm           : boolean;
  public  immobiliser     : boolean;
  public  reverse_beeper  : boolean;
  public  jump_start      : boolean;
  private consumers       : [0..30];

rule
  consumers = work_lamps + beacons + socket_24
    + (if inverter then 4 else 0) + (if fridge then 2 else 0)
    + (if microwave then 5 else 0) + (if park_cooler then 6 else 0);
  alternator_100 xor alternator_150;
  consumers > 10 -> alternator_150;
  consumers > 6 -> battery <> battery_140;
  park_cooler -> battery = battery_225 or battery = battery_gel;
  cold_climate -> battery <> battery_140 and battery <> battery_gel;
  start_stop -> battery = battery_gel or battery = battery_225;
  headlamp = halogen or level_lamps;
  headlamp = xenon -> washer_lamps;
  law_is_strict -> day_lamps;
  day_lamps and headlamp = halogen -> not light_sensor;
  corner_lamps -> headlamp <> halogen;
  cold_climate -> fog_lamps or lamp_bar;
  use = municipal or use = construction -> beacons >= 1;
  beacons > 2 -> roof_rack or cab = crew_cab or use = municipal;
  use = forestry -> work_lamps >= 4;
  work_lamps > 2 -> off_road or use = municipal;
  dangerous_goods <-> adr_switch;
  adr_switch -> main_switch and not inverter;
  microwave -> inverter;
  trailer_15_pole -> vehicle = tractor or trailer_air_rear;
  vehicle = tractor -> trailer_15_pole and trailer_abs;
  trailer_abs -> anti_lock;
  alarm -> immobiliser;
  market = island -> immobiliser;
  use = municipal -> reverse_beeper;
  socket_24 >= 1;
  jump_start -> off_road or cold_climate;

/* ------------------------------------------- assistance and information */

type
  Radio   : [no_radio, basic_radio, digital_radio, media_centre];
  Cluster : [needle_cluster, colour_cluster, glass_cluster];
  Cruise  : [no_cruise, plain_cruise, distance_cruise, map_cruise];

variable
  public  radio            : Radio;
  public  cluster          : Cluster;
  public  cruise           : Cruise;
  public  navigation       : boolean;
  public  hands_free       : boolean;
  public  cb_radio         : boolean;
  public  loudspeakers     : [0..8];
  public  lane_warning     : boolean;
  public  blind_spot       : boolean;
  public  turn_assist      : boolean;
  public  drowsiness       : boolean;
  public  sign_reader      : boolean;
  public  camera_rear      : boolean;
  public  camera_front     : boolean;
  public  camera_top       : boolean;
  public  park_sensors     : boolean;
  public  alcohol_lock     : boolean;
  public  tachograph       : boolean;
  public  fleet_online     : boolean;
  public  driver_score     : boolean;
  public  remote_updates   : boolean;
  public  toll_unit        : boolean;
  public  phone_charger    : boolean;
  private cameras          : [0..3];

rule
  cameras = (if camera_rear then 1 else 0) + (if camera_front then 1 else 0)
    + (if camera_top then 1 else 0);
  cameras > 0 -> cluster <> needle_cluster or radio = media_centre;
  cameras > 2 -> cluster = glass_cluster;
  radio = no_radio -> loudspeakers = 0 and not hands_free and not navigation;
  radio <> no_radio -> loudspeakers >= 2;
  loudspeakers > 4 -> radio = media_centre;
  navigation -> radio = media_centre;
  hands_free -> wheel_buttons or radio = media_centre;
  cb_radio -> market <> central or use = forestry;
  cruise <> no_cruise -> wheel_buttons;
  cruise = distance_cruise or cruise = map_cruise -> emergency_brake;
  cruise = map_cruise -> cluster <> needle_cluster and not manual_box;
  cruise = map_cruise -> use = long_haul or use = regional;
  eco_roll -> cruise <> no_cruise;
  bull_bar -> cruise <> distance_cruise and cruise <> map_cruise;
  law_is_strict and gross_tonnes > 12 -> lane_warning and drowsiness;
  law_is_strict and use <> forestry -> turn_assist;
  turn_assist -> blind_spot or camera_front;
  blind_spot -> mirrors <> glass_mirrors;
  mirrors = camera_mirrors -> cluster = glass_cluster;
  sign_reader -> camera_front;
  park_sensors -> not off_road;
  reverse_beeper or camera_rear or not (vehicle = rigid and use = urban);
  camera_top -> use = construction or use = municipal or use = forestry;
  law_is_strict or market = island -> tachograph;
  tachograph -> cluster <> needle_cluster or emission <> stage_6;
  alcohol_lock -> market = north or use = municipal;
  fleet_online -> engine_gateway;
  driver_score -> fleet_online;
  remote_updates -> fleet_online and emission = stage_6;
  toll_unit -> market = central or market = south;
  market = central and use = long_haul -> toll_unit;
  phone_charger -> socket_12;

/* ---------------------------------------------- bodies, coupling, load */

type
  Body     : [no_body, curtain_body, box_body, cooler_body, tipper_body, tank_body,
              timber_body, swap_body, refuse_body];
  Coupling : [no_coupling, drawbar, low_drawbar, fifth_wheel_low, fifth_wheel_high];
  Lift     : [no_lift, folding_lift, column_lift, crane_light, crane_heavy];

variable
  public  body             : Body;
  public  coupling         : Coupling;
  public  lift             : Lift;
  public  body_kg          : integer;
  public  body_length      : [0..100];
  public  cooler_degrees   : integer;
  public  twist_locks      : boolean;
  public  tipping_pump     : boolean;
  public  tail_doors       : boolean;
  public  roller_door      : boolean;
  public  side_door        : boolean;
  public  load_rails       : boolean;
  public  load_net         : boolean;
  public  inside_light     : boolean;
  public  tool_box         : [0..2];
  public  pallet_box       : boolean;
  public  extinguishers    : [0..4];
  public  body_gateway     : boolean;
  public  sliding_fifth    : boolean;
  public  fifth_greaser    : boolean;
  public  coupling_sensor  : boolean;
  public  duomatic         : boolean;
  private payload          : [0..30];

rule
  vehicle = tractor -> body = no_body;
  vehicle = tractor -> coupling = fifth_wheel_low or coupling = fifth_wheel_high;
  vehicle = rigid -> coupling <> fifth_wheel_low and coupling <> fifth_wheel_high;
  coupling = fifth_wheel_low <-> frame = low_frame;
  coupling = low_drawbar -> rear_end = lowered_end;
  coupling <> no_coupling -> trailer_brake;
  coupling = drawbar and gross_tonnes > 26 -> cross_bars = rear_cross_bar or cross_bars = both_cross_bars;
  sliding_fifth -> vehicle = tractor and frame <> low_frame;
  fifth_greaser -> vehicle = tractor;
  coupling_sensor -> vehicle = tractor and cluster <> needle_cluster;
  duomatic -> coupling = drawbar or coupling = low_drawbar;
  body <> no_body -> body_kg >= 800 and body_kg <= MAX_BODY_KG;
  body = no_body -> body_kg < 800 and body_length = 0;
  body <> no_body -> body_length + 20 <= wheelbase + overhang;
  body_length <= ROUND;
  body = tipper_body -> off_road and tipping_pump;
  tipping_pump -> pto <> no_pto;
  body = cooler_body -> cooler_degrees >= -25 and cooler_degrees <= 12;
  body = cooler_body -> alternator_150 or pto = engine_pto;
  body = timber_body <-> use = forestry;
  body = refuse_body -> use = municipal and gearbox = automatic_6 and frame <> light_frame;
  body = tank_body and market <> island -> dangerous_goods;
  body = swap_body <-> twist_locks;
  body = swap_body -> axles[1].suspension = air;
  tail_doors -> body = box_body or body = cooler_body;
  roller_door -> body = box_body and not tail_doors;
  side_door -> body = box_body or body = cooler_body or body = curtain_body;
  load_rails -> body = box_body or body = curtain_body;
  load_net -> body <> no_body and body <> tank_body;
  inside_light -> tail_doors or roller_door or side_door;
  lift = folding_lift -> body = box_body or body = cooler_body or body = curtain_body;
  lift = column_lift -> gross_tonnes >= 16 and not (rear_end = lowered_end);
  lift = crane_heavy -> gross_tonnes >= 26 and pto <> no_pto and frame = heavy_frame;
  lift = crane_light -> pto <> no_pto;
  use = forestry -> lift = crane_heavy or coupling <> no_coupling;
  body <> refuse_body or lift = no_lift;
  lift <> no_lift -> body_gateway or use = forestry;
  dangerous_goods -> extinguishers >= 2;
  use = municipal or use = forestry -> extinguishers >= 1;
  pallet_box -> wheelbase >= 45 and not tanks[2].fitted;
  tool_box = 2 -> wheelbase >= 36;
  payload + 8 <= gross_tonnes;
  case body of
    no_body then payload = 0 |
    tank_body then payload >= 6 |
    timber_body then payload >= 10 |
    default payload >= 2
  esac;

/* ------------------------------------------------- colour and contract */

type
  Colour  : ["{cab}white", "{cab}red", "{cab}blue", "{cab}green", "{cab}orange"];
  Chassis : ["{chassis}grey", "{chassis}black", "{chassis}red"];
  Service : [no_service, basic_service, full_service];

variable
  public  colour          : Colour;
  public  chassis_colour  : Chassis;
  public  brochure_colour : string;
  public  metallic        : boolean;
  public  two_tone        : boolean;
  public  lettering       : boolean;
  public  wax             : boolean;
  public  service         : Service;
  public  months          : [0..84];
  public  km_a_year       : integer;
  public  uptime_pledge   : boolean;
  public  tyre_service    : boolean;
  public  training_days   : [0..5];
  public  buy_back        : boolean;
  public  discount        : float;
  public  pre_series      : boolean;

rule
  brochure_colour = colour;
  use = municipal and market <> south -> colour = "{cab}orange";
  metallic -> colour = "{cab}blue" or colour = "{cab}red";
  two_tone -> metallic or order_text = "demonstrator";
  chassis_colour = "{chassis}red" -> vehicle = rigid;
  cold_climate -> wax;
  lettering -> customer_no > 9999 or order_text = "demonstrator";
  service = no_service <-> months = 0;
  service = full_service -> months >= 24;
  months > 60 -> km_a_year <= 150000;
  km_a_year > 0 and km_a_year <= 250000;
  use = urban -> km_a_year < 80000;
  uptime_pledge -> service = full_service and fleet_online;
  tyre_service -> service <> no_service;
  buy_back -> service = full_service and months <= 48 and km_a_year <= 150000;
  discount >= 0.0 and discount <= 0.35;
  customer_no < 10000 and order_text <> "demonstrator" -> discount <= 0.12;
  order_text = "demonstrator" -> discount = 0.25;
  buy_back -> discount < 0.2;
  pre_series -> order_text = "demonstrator" and emission = stage_6;
  training_days > 2 -> uptime_pledge or pre_series;
