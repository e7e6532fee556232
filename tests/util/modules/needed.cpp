extern "C" int NeededPlace() {
  return MODULE_PLACE;
}
