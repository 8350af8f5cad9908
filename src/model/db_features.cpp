#include "model/db_features.h"

#include <algorithm>
#include <cstdio>
#include <unordered_map>

#include "platform/strutil.h"

namespace qorl {

namespace {

// Ids ascending; the boolean rows first, then integers, masks and texts, each
// range without a gap. Names are the document's: fixed once.
constexpr FeatureDesc kFeatureRows[] = {
    {0, "LEFT_OUTER_JOIN_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {1, "RIGHT_OUTER_JOIN_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {2, "FULL_OUTER_JOIN_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {3, "CROSS_JOIN_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {4, "NESTED_OUTER_JOIN_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {5, "INNER_JOIN_SYNTAX_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {6, "NATURAL_JOIN_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {7, "DERIVED_TABLES_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {8, "SUBQUERY_IN_SELECT_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {9, "SUBQUERY_IN_FROM_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {10, "SUBQUERY_IN_WHERE_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {11, "SUBQUERY_IN_HAVING_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {12, "CORRELATED_SUBQUERY_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {13, "EXISTS_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {14, "IN_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {15, "IN_SUBQUERY_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {16, "BETWEEN_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {17, "LIKE_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {18, "LIKE_ESCAPE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {19, "IS_NULL_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {20, "CASE_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {21, "SEARCHED_CASE_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {22, "COALESCE_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {23, "NULLIF_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {24, "CAST_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {25, "UNION_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {26, "UNION_ALL_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {27, "INTERSECT_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {28, "INTERSECT_ALL_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {29, "EXCEPT_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {30, "EXCEPT_ALL_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {31, "SELECT_DISTINCT_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {32, "COUNT_DISTINCT_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {33, "MULTIPLE_COUNT_DISTINCT_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {34, "GROUP_BY_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {35, "GROUP_BY_EXPRESSION_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {36, "HAVING_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {37, "ORDER_BY_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {38, "ORDER_BY_EXPRESSION_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {39, "ORDER_BY_POSITION_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {40, "ORDER_BY_NULLS_ORDERING_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {41, "ROLLUP_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {42, "CUBE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {43, "GROUPING_SETS_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {44, "GROUPING_FUNCTION_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {45, "WITH_CLAUSE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {46, "RECURSIVE_WITH_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {47, "ROW_LIMIT_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {48, "ROW_OFFSET_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {49, "TOP_N_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {50, "SELECT_WITHOUT_FROM_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {51, "COLUMN_ALIAS_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {52, "TABLE_ALIAS_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {53, "QUALIFIED_TABLE_NAMES_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {54, "CATALOG_QUALIFIER_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {55, "SCHEMA_QUALIFIER_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {56, "QUOTED_IDENTIFIERS_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {57, "MIXED_CASE_IDENTIFIERS_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {58, "UNICODE_LITERALS_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {59, "DATE_LITERALS_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {60, "TIME_LITERALS_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {61, "TIMESTAMP_LITERALS_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {62, "INTERVAL_LITERALS_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {63, "BOOLEAN_LITERALS_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {64, "PARAMETERS_IN_SELECT_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {65, "PARAMETERS_IN_WHERE_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {66, "ARRAY_BINDING_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {67, "CONSTANT_IN_GROUP_BY_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {68, "SUM_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {69, "AVG_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {70, "MIN_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {71, "MAX_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {72, "COUNT_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {73, "COUNT_STAR_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {74, "SUM_DISTINCT_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {75, "AVG_DISTINCT_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {76, "STDDEV_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {77, "STDDEV_POP_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {78, "VARIANCE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {79, "VAR_POP_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {80, "MEDIAN_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {81, "PERCENTILE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {82, "FIRST_VALUE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {83, "LAST_VALUE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {84, "STRING_AGGREGATE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {85, "NESTED_AGGREGATES_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {86, "AGGREGATE_FILTER_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {87, "WINDOW_FUNCTIONS_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {88, "RANK_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {89, "DENSE_RANK_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {90, "ROW_NUMBER_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {91, "PERCENT_RANK_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {92, "CUME_DIST_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {93, "NTILE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {94, "LAG_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {95, "LEAD_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {96, "MOVING_SUM_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {97, "MOVING_AVG_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {98, "RUNNING_SUM_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {99, "WINDOW_FRAME_ROWS_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {100, "WINDOW_FRAME_RANGE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {101, "WINDOW_PARTITION_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {102, "WINDOW_ORDER_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {103, "CONCAT_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {104, "CONCAT_OPERATOR_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {105, "SUBSTRING_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {106, "UPPER_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {107, "LOWER_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {108, "TRIM_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {109, "LTRIM_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {110, "RTRIM_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {111, "LENGTH_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {112, "CHAR_LENGTH_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {113, "OCTET_LENGTH_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {114, "POSITION_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {115, "REPLACE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {116, "LEFT_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {117, "RIGHT_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {118, "LPAD_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {119, "RPAD_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {120, "REPEAT_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {121, "ASCII_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {122, "CHAR_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {123, "INSERT_STRING_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {124, "REGEXP_LIKE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {125, "REGEXP_REPLACE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {126, "SOUNDEX_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {127, "ABS_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {128, "CEILING_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {129, "FLOOR_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {130, "ROUND_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {131, "TRUNCATE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {132, "MOD_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {133, "POWER_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {134, "SQRT_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {135, "EXP_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {136, "LOG_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {137, "LOG10_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {138, "SIGN_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {139, "PI_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {140, "RAND_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {141, "SIN_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {142, "COS_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {143, "TAN_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {144, "ASIN_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {145, "ACOS_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {146, "ATAN_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {147, "ATAN2_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {148, "COT_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {149, "DEGREES_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {150, "RADIANS_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {151, "BIT_AND_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {152, "BIT_OR_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {153, "INTEGER_DIVISION_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {154, "CURRENT_DATE_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {155, "CURRENT_TIME_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {156, "CURRENT_TIMESTAMP_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {157, "EXTRACT_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {158, "YEAR_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {159, "QUARTER_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {160, "MONTH_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {161, "WEEK_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {162, "DAY_OF_MONTH_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {163, "DAY_OF_WEEK_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {164, "DAY_OF_YEAR_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {165, "HOUR_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {166, "MINUTE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {167, "SECOND_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {168, "DAY_NAME_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {169, "MONTH_NAME_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {170, "TIMESTAMP_ADD_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {171, "TIMESTAMP_DIFF_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {172, "DATE_TRUNC_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {173, "TIME_ZONE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {174, "CAST_TO_CHAR_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {175, "CAST_TO_NUMBER_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {176, "CAST_TO_DATE_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {177, "CAST_TO_TIMESTAMP_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {178, "BOOLEAN_TYPE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {179, "BINARY_TYPE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {180, "LOB_TYPE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {181, "LOB_IN_ORDER_BY_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {182, "LOB_IN_GROUP_BY_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {183, "LOB_IN_DISTINCT_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {184, "DECIMAL_ARITHMETIC_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {185, "IMPLICIT_CONVERSION_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {186, "INSERT_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {187, "UPDATE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {188, "DELETE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {189, "MERGE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {190, "BULK_INSERT_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {191, "CREATE_TABLE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {192, "DROP_TABLE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {193, "CREATE_INDEX_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {194, "DROP_INDEX_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {195, "TEMPORARY_TABLES_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {196, "GLOBAL_TEMPORARY_TABLES_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {197, "CREATE_TABLE_AS_SELECT_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {198, "INSERT_FROM_SELECT_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {199, "TRUNCATE_TABLE_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {200, "CREATE_VIEW_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {201, "STATISTICS_COLLECTION_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {202, "TRANSACTIONS_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {203, "SAVEPOINTS_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {204, "STORED_PROCEDURES_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {205, "USER_DEFINED_FUNCTIONS_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {206, "SEQUENCES_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {207, "IDENTITY_COLUMNS_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {208, "PRIMARY_KEY_CONSTRAINTS_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {209, "FOREIGN_KEY_CONSTRAINTS_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {210, "UNIQUE_CONSTRAINTS_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {211, "CHECK_CONSTRAINTS_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {212, "PARTITIONED_TABLES_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {213, "MATERIALIZED_VIEWS_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {214, "QUERY_HINTS_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {215, "QUERY_TIMEOUT_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {216, "QUERY_CANCEL_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {217, "ASYNC_EXECUTION_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {218, "MULTIPLE_RESULT_SETS_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {219, "SCROLLABLE_CURSORS_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {220, "PREPARED_STATEMENTS_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {221, "BATCH_STATEMENTS_SUPPORTED", FeatureKind::kBoolean, 0, U""},
    {222, "FETCH_ARRAY_SUPPORTED", FeatureKind::kBoolean, 1, U""},
    {223, "CASE_SENSITIVE_COMPARISON", FeatureKind::kBoolean, 1, U""},
    {224, "NULLS_SORT_FIRST", FeatureKind::kBoolean, 0, U""},
    {225, "EMPTY_STRING_IS_NULL", FeatureKind::kBoolean, 0, U""},
    {226, "ANSI_NULLS", FeatureKind::kBoolean, 1, U""},
    {227, "SORT_ORDER_MATCHES_SERVER", FeatureKind::kBoolean, 0, U""},
    {228, "PERFORM_LOCAL_SORT", FeatureKind::kBoolean, 0, U""},
    {229, "PUSH_DOWN_FILTERS", FeatureKind::kBoolean, 1, U""},
    {230, "PUSH_DOWN_AGGREGATES", FeatureKind::kBoolean, 1, U""},
    {231, "PUSH_DOWN_JOINS", FeatureKind::kBoolean, 1, U""},
    {232, "DATA_CACHING_ALLOWED", FeatureKind::kBoolean, 1, U""},
    {233, "CONNECTION_POOLING_ALLOWED", FeatureKind::kBoolean, 1, U""},
    {1000, "MAX_COLUMNS_IN_SELECT", FeatureKind::kInteger, 0, U""},
    {1001, "MAX_ENTRIES_IN_IN_LIST", FeatureKind::kInteger, 1000, U""},
    {1002, "MAX_TABLES_IN_FROM", FeatureKind::kInteger, 0, U""},
    {1003, "MAX_STATEMENT_LENGTH", FeatureKind::kInteger, 0, U""},
    {1004, "MAX_IDENTIFIER_LENGTH", FeatureKind::kInteger, 128, U""},
    {1005, "MAX_ROWS_PER_FETCH", FeatureKind::kInteger, 100, U""},
    {1006, "MAX_CONNECTIONS_PER_QUERY", FeatureKind::kInteger, 1, U""},
    {1007, "MAX_NESTING_DEPTH", FeatureKind::kInteger, 0, U""},
    {1008, "STRING_FUNCTIONS_MASK", FeatureKind::kMask, 0, U""},
    {1009, "NUMERIC_FUNCTIONS_MASK", FeatureKind::kMask, 0, U""},
    {1010, "DATE_FUNCTIONS_MASK", FeatureKind::kMask, 0, U""},
    {1011, "TIME_FUNCTIONS_MASK", FeatureKind::kMask, 0, U""},
    {1012, "SYSTEM_FUNCTIONS_MASK", FeatureKind::kMask, 0, U""},
    {1013, "CONVERSION_FUNCTIONS_MASK", FeatureKind::kMask, 0, U""},
    {1014, "CONVERTIBLE_TYPES_MASK", FeatureKind::kMask, 0, U""},
    {1015, "AGGREGATE_FUNCTIONS_MASK", FeatureKind::kMask, 31, U""},
    {1016, "WINDOW_FUNCTIONS_MASK", FeatureKind::kMask, 0, U""},
    {1017, "JOIN_TYPES_MASK", FeatureKind::kMask, 3, U""},
    {1018, "SUBQUERY_KINDS_MASK", FeatureKind::kMask, 0, U""},
    {1019, "SET_OPERATIONS_MASK", FeatureKind::kMask, 1, U""},
    {1020, "GROUPING_KINDS_MASK", FeatureKind::kMask, 0, U""},
    {1021, "LITERAL_KINDS_MASK", FeatureKind::kMask, 0, U""},
    {1022, "DATA_TYPES_MASK", FeatureKind::kMask, 0, U""},
    {1023, "LOB_OPERATIONS_MASK", FeatureKind::kMask, 0, U""},
    {1024, "DDL_STATEMENTS_MASK", FeatureKind::kMask, 0, U""},
    {1025, "DML_STATEMENTS_MASK", FeatureKind::kMask, 0, U""},
    {1026, "TRANSACTION_ISOLATION_MASK", FeatureKind::kMask, 0, U""},
    {1027, "CURSOR_KINDS_MASK", FeatureKind::kMask, 0, U""},
    {1028, "INTERVAL_KINDS_MASK", FeatureKind::kMask, 0, U""},
    {1029, "TIMESTAMP_ADD_INTERVALS_MASK", FeatureKind::kMask, 0, U""},
    {1030, "TIMESTAMP_DIFF_INTERVALS_MASK", FeatureKind::kMask, 0, U""},
    {1031, "PREDICATE_KINDS_MASK", FeatureKind::kMask, 0, U""},
    {1032, "OUTER_JOIN_CAPABILITIES_MASK", FeatureKind::kMask, 0, U""},
    {1033, "IDENTIFIER_CASE_MASK", FeatureKind::kMask, 0, U""},
    {1034, "QUOTED_IDENTIFIER_CASE_MASK", FeatureKind::kMask, 0, U""},
    {1035, "NULL_COLLATION_MASK", FeatureKind::kMask, 0, U""},
    {1036, "SCALAR_SUBQUERY_MASK", FeatureKind::kMask, 0, U""},
    {1037, "PARAMETER_KINDS_MASK", FeatureKind::kMask, 0, U""},
    {1038, "CATALOG_USAGE_MASK", FeatureKind::kMask, 0, U""},
    {2000, "IDENTIFIER_QUOTE_CHAR", FeatureKind::kText, 0, U"\""},
    {2001, "CATALOG_SEPARATOR", FeatureKind::kText, 0, U"."},
    {2002, "STRING_LITERAL_QUOTE_CHAR", FeatureKind::kText, 0, U"'"},
    {2003, "DATE_LITERAL_FORMAT", FeatureKind::kText, 0, U""},
    {2004, "TIME_LITERAL_FORMAT", FeatureKind::kText, 0, U""},
    {2005, "TIMESTAMP_LITERAL_FORMAT", FeatureKind::kText, 0, U""},
    {2006, "CONCAT_OPERATOR", FeatureKind::kText, 0, U""},
    {2007, "ESCAPE_CHAR", FeatureKind::kText, 0, U""},
    {2008, "ROW_LIMIT_SYNTAX", FeatureKind::kText, 0, U""},
    {2009, "TEMP_TABLE_CREATE_SYNTAX", FeatureKind::kText, 0, U""},
    {2010, "TEMP_TABLE_NAME_PREFIX", FeatureKind::kText, 0, U""},
    {2011, "CONNECTION_TEST_STATEMENT", FeatureKind::kText, 0, U""},
    {2012, "SESSION_INIT_STATEMENT", FeatureKind::kText, 0, U""},
    {2013, "DEFAULT_CATALOG", FeatureKind::kText, 0, U""},
    {2014, "DEFAULT_SCHEMA", FeatureKind::kText, 0, U""},
    {2015, "CHARACTER_SET", FeatureKind::kText, 0, U""},
    {2016, "COLLATION", FeatureKind::kText, 0, U""},
};

constexpr size_t kBooleanCount = SUFeaturesTable::kFeature_BooleanTypeEnd;
constexpr size_t kNumberCount =
    kBooleanCount + (SUFeaturesTable::kFeature_UInt32TypeEnd - SUFeaturesTable::kFeature_UInt32TypeBegin);
constexpr size_t kTextCount = SUFeaturesTable::kFeature_StringTypeEnd - SUFeaturesTable::kFeature_StringTypeBegin;
static_assert(std::size(kFeatureRows) == kNumberCount + kTextCount, "one row per feature id");

// Where a row sits in kFeatureRows, and the slot of a number or text id.
constexpr ptrdiff_t RowIndex(int32_t id) {
  if (id >= 0 && id < SUFeaturesTable::kFeature_BooleanTypeEnd) return id;
  if (id >= SUFeaturesTable::kFeature_UInt32TypeBegin && id < SUFeaturesTable::kFeature_UInt32TypeEnd)
    return kBooleanCount + (id - SUFeaturesTable::kFeature_UInt32TypeBegin);
  if (id >= SUFeaturesTable::kFeature_StringTypeBegin && id < SUFeaturesTable::kFeature_StringTypeEnd)
    return kNumberCount + (id - SUFeaturesTable::kFeature_StringTypeBegin);
  return -1;
}

constexpr bool RowsAreInPlace() {
  for (size_t i = 0; i < std::size(kFeatureRows); ++i)
    if (RowIndex(kFeatureRows[i].id) != static_cast<ptrdiff_t>(i)) return false;
  for (size_t i = 0; i < std::size(kFeatureRows); ++i) {
    FeatureKind expected = i < kBooleanCount ? FeatureKind::kBoolean
                           : kFeatureRows[i].id < SUFeaturesTable::kFeature_UInt32MaskTypeBegin ? FeatureKind::kInteger
                           : i < kNumberCount ? FeatureKind::kMask
                                              : FeatureKind::kText;
    if (kFeatureRows[i].kind != expected) return false;
  }
  return true;
}
static_assert(RowsAreInPlace(), "feature rows must follow the id ranges");

bool FeatureReadUInt(const VXString& text, uint32_t& out) {
  unsigned long long v;
  if (!BaseStringUtil::StringToUInt(text, v) || v > 0xFFFFFFFFull) return false;
  out = static_cast<uint32_t>(v);
  return true;
}

bool FeatureReadMask(const VXString& text, uint32_t& out) {
  if (text.size() < 3 || text.size() > 10 || text[0] != U'0' || (text[1] != U'X' && text[1] != U'x')) return false;
  uint32_t v = 0;
  for (size_t i = 2; i < text.size(); ++i) {
    char32_t c = text[i];
    int d = c >= U'0' && c <= U'9' ? int(c - U'0') : c >= U'a' && c <= U'f' ? int(c - U'a' + 10)
            : c >= U'A' && c <= U'F' ? int(c - U'A' + 10) : -1;
    if (d < 0) return false;
    v = v * 16 + static_cast<uint32_t>(d);
  }
  out = v;
  return true;
}

}  // namespace

SUFeaturesTable::SUFeaturesTable() { Clear(); }

std::span<const FeatureDesc> SUFeaturesTable::AllFeatures() { return kFeatureRows; }

bool SUFeaturesTable::IsFeatureID(int32_t id) { return RowIndex(id) >= 0; }

const FeatureDesc* SUFeaturesTable::FindFeature(int32_t id) {
  ptrdiff_t i = RowIndex(id);
  return i < 0 ? nullptr : &kFeatureRows[i];
}

VXString SUFeaturesTable::GetFeatureNameFromId(int32_t id) {
  const FeatureDesc* d = FindFeature(id);
  return d ? VXString(d->name) : VXString();
}

bool SUFeaturesTable::GetFeatureIDFromName(const VXString& name, int32_t& id) {
  static const std::unordered_map<VXString, int32_t> byName = [] {
    std::unordered_map<VXString, int32_t> m;
    for (const FeatureDesc& d : kFeatureRows) m.emplace(VXString(d.name), d.id);
    return m;
  }();
  auto it = byName.find(name);
  if (it == byName.end()) return false;
  id = it->second;
  return true;
}

void SUFeaturesTable::Clear() {
  m_numbers.resize(kNumberCount);
  m_texts.resize(kTextCount);
  for (size_t i = 0; i < kNumberCount; ++i) m_numbers[i] = kFeatureRows[i].defaultNumber;
  for (size_t i = 0; i < kTextCount; ++i) m_texts[i] = VXString(kFeatureRows[kNumberCount + i].defaultText);
}

bool SUFeaturesTable::GetBooleanFeatureValue(int32_t id) const {
  return id >= 0 && id < kFeature_BooleanTypeEnd && m_numbers[id] != 0;
}

void SUFeaturesTable::SetBooleanFeatureValue(int32_t id, bool value) {
  if (id >= 0 && id < kFeature_BooleanTypeEnd) m_numbers[id] = value ? 1 : 0;
}

uint32_t SUFeaturesTable::GetIntegerFeatureValue(int32_t id) const {
  return id >= kFeature_UInt32TypeBegin && id < kFeature_UInt32TypeEnd ? m_numbers[RowIndex(id)] : 0;
}

void SUFeaturesTable::SetIntegerFeatureValue(int32_t id, uint32_t value) {
  if (id >= kFeature_UInt32TypeBegin && id < kFeature_UInt32TypeEnd) m_numbers[RowIndex(id)] = value;
}

VXString SUFeaturesTable::GetStringFeatureValue(int32_t id) const {
  return id >= kFeature_StringTypeBegin && id < kFeature_StringTypeEnd ? m_texts[id - kFeature_StringTypeBegin]
                                                                        : VXString();
}

void SUFeaturesTable::SetStringFeatureValue(int32_t id, const VXString& value) {
  if (id >= kFeature_StringTypeBegin && id < kFeature_StringTypeEnd) m_texts[id - kFeature_StringTypeBegin] = value;
}

VXString SUFeaturesTable::GetFeatureValueText(int32_t id) const {
  const FeatureDesc* d = FindFeature(id);
  if (!d) return VXString();
  switch (d->kind) {
    case FeatureKind::kBoolean: return VXString(GetBooleanFeatureValue(id) ? U"true" : U"false");
    case FeatureKind::kInteger: return VXString::FromUInt(GetIntegerFeatureValue(id));
    case FeatureKind::kMask: {
      char buf[16];
      std::snprintf(buf, sizeof buf, "0X%x", static_cast<unsigned>(GetIntegerFeatureValue(id)));
      return VXString(buf);
    }
    case FeatureKind::kText: return GetStringFeatureValue(id);
  }
  return VXString();
}

std::map<int32_t, VXString> SUFeaturesTable::GetChangedValues() const {
  std::map<int32_t, VXString> out;
  for (size_t i = 0; i < kNumberCount; ++i)
    if (m_numbers[i] != kFeatureRows[i].defaultNumber) out.emplace(kFeatureRows[i].id, GetFeatureValueText(kFeatureRows[i].id));
  for (size_t i = 0; i < kTextCount; ++i)
    if (m_texts[i].view() != kFeatureRows[kNumberCount + i].defaultText) out.emplace(kFeatureRows[kNumberCount + i].id, m_texts[i]);
  return out;
}

void SUFeaturesTable::SetChangedValues(const std::map<int32_t, VXString>& values) {
  Clear();
  for (const auto& [id, text] : values) {
    const FeatureDesc* d = FindFeature(id);
    if (!d) continue;
    uint32_t n = 0;
    switch (d->kind) {
      case FeatureKind::kBoolean: {
        bool b = false;
        if (BaseStringUtil::StringToBool(text, b)) SetBooleanFeatureValue(id, b);
        break;
      }
      case FeatureKind::kInteger:
        if (FeatureReadUInt(text, n)) SetIntegerFeatureValue(id, n);
        break;
      case FeatureKind::kMask:
        if (FeatureReadMask(text, n)) SetIntegerFeatureValue(id, n);
        break;
      case FeatureKind::kText: SetStringFeatureValue(id, text); break;
    }
  }
}

// ---- properties -----------------------------------------------------------------

void SUPropertiesTable::SetProperty(const VXString& key, const VXString& value) {
  for (auto& [k, v] : m_items)
    if (k == key) {
      v = value;
      return;
    }
  m_items.emplace_back(key, value);
}

bool SUPropertiesTable::GetProperty(const VXString& key, VXString& value) const {
  for (const auto& [k, v] : m_items)
    if (k == key) {
      value = v;
      return true;
    }
  return false;
}

bool SUPropertiesTable::RemoveProperty(const VXString& key) {
  return std::erase_if(m_items, [&](const auto& kv) { return kv.first == key; }) != 0;
}

void SUPropertiesTable::GetPropertyKeys(VXStringVector& keys) const {
  keys.clear();
  for (const auto& kv : m_items) keys.push_back(kv.first);
}

VXStringVector SUPropertiesTable::ToFlatVector() const {
  VXStringVector flat;
  flat.reserve(m_items.size() * 2);
  for (const auto& [k, v] : m_items) {
    flat.push_back(k);
    flat.push_back(v);
  }
  return flat;
}

void SUPropertiesTable::FromFlatVector(const VXStringVector& flat) {
  m_items.clear();
  for (size_t i = 0; i + 1 < flat.size(); i += 2) SetProperty(flat[i], flat[i + 1]);
}

}  // namespace qorl
