#pragma once
/// Everything public of the library.
