// Definitions of the message catalogue rows, in catalogue order.
//
// All rows live in this one translation unit on purpose: namespace-scope objects of one translation unit are
// constructed in the order of their definitions and destroyed in reverse order, which gives the catalogue a
// fixed construction order when the library loads. Keep new rows in catalogue order.
#include "messages/Messages.h"

namespace Zarn {
namespace messages {

// ---- errors ----
const std::string bareArgument = "$_ARG_$";
const std::string seeFileLine = "SEE FILE '$_ARG_$' LINE $_ARG_$.";
const std::string cannotOpenInputFile = "CANNOT OPEN INPUT FILE '$_ARG_$'.";
const std::string invalidPointerReturned = "INVALID POINTER VALUE -1 RETURNED AT $_ARG_$ : $_ARG_$.";
const std::string errorReadingInputFile = "ERROR ENCOUNTERED WHILE READING INPUT FILE '$_ARG_$'.";
const std::string errorReadingEntityNotDefined =
    "ERROR ENCOUNTERED WHILE READING '$_ARG_$' WITH ID=$_ARG_$.\n"
    "ENTITY $_ARG_$ IS NOT PROPERLY DEFINED.";
const std::string errorReadingObjectNotDefined =
    "ERROR ENCOUNTERED WHILE READING '$_ARG_$' ID=$_ARG_$. $_ARG_$ IS NOT PROPERLY DEFINED.";
const std::string nothingDefinedInInput = "ERROR IN INPUT FILE. NO $_ARG_$ IS DEFINED IN INPUT.";
const std::string selfDependencyInMpc =
    "SELF DEPENDENCY FOUND IN MULTIPOINT CONSTRAINT DEFINITION FOR $_ARG_$.";
const std::string zeroDependentDofCoefficient = "COEFFICIENT FOR DEPENDENT DOF FROM NODE ID=$_ARG_$ IS ZERO.";
const std::string alreadyConstrainedForMpc =
    "$_ARG_$ IS ALREADY CONSTRAINED. CANNOT BE CONSTRAINED BY MULTIPOINT CONSTRAINT.";
const std::string invalidRbeIndependentNode = "INVALID INDEPENDENT NODE DEFINITION IN RBE ID=$_ARG_$.";
const std::string invalidRbeRigidBodyMotion = "INVALID RIGID BODY MOTION DEFINITION IN RBE ID=$_ARG_$.";
const std::string zeroPressureDirection = "MAGNITUDE OF DIRECTION VECTOR IS ZERO IN PRESSURE LOAD.";
const std::string invalidDofTypeValue =
    "INVALID DOF TYPE VALUE [LINE=$_ARG_$]. ALLOWED VALUES ARE 1,2,3,4,5,6 AND 7.";
const std::string onlySingleDofTypeAllowed = "ONLY SINGLE DOF TYPE ALLOWED [LINE=$_ARG_$].";
const std::string unknownAxisType = "UNKNOWN AXIS TYPE [LINE=$_ARG_$].";
const std::string unrecognizedSubcaseDatalink = "SUBCASE DATALINK DEFINITION IS UNRECOGNIZED.";
const std::string unknownSubcaseDatalinkSource = "SUBCASE DATALINK SOURCE ID=$_ARG_$ IS UNKNOWN.";
const std::string noLayerInCompositeProperty = "NO LAYER DEFINED IN COMPOSITE PROPERTY ID=$_ARG_$.";
const std::string invalidMaterialData = "INVALID MATERIAL DATA IN MATERIAL ID=$_ARG_$.";
const std::string cannotDefineElementOrientation =
    "UNABLE TO DEFINE ELEMENT ORIENTATION FOR $_ARG_$ ELEMENT ID=$_ARG_$.";
const std::string negativeXInAxisymmetricElement =
    "NODAL COORDINATE HAS NEGATIVE X VALUE IN AXISYMMETRIC ELEMENT ID=$_ARG_$.";
const std::string missingRadiationCoefficient =
    "RADIATION COEFFICIENT MISSING IN HEAT EXCHANGE ELEMENT ID=$_ARG_$.";
const std::string invalidMaterialReferenceInProperty = "INVALID MATERIAL REFERENCE IN PROPERTY ID=$_ARG_$.";
const std::string tooFewElementsForCavity = "NOT ENOUGH ELEMENTS DEFINED TO FORM CAVITY ID=$_ARG_$.";
const std::string nonUniqueGlobalPlyId = "NON-UNIQUE GLOBAL PLY ID IN COMPOSITE PROPERTY ID=$_ARG_$.";
const std::string invalidElementFormulationOption =
    "INVALID ELEMENT FORMULATION OPTION FOR $_ARG_$ ($_ARG_$).";
const std::string elementCoordinateSystemRequired =
    "ELEMENT COORDINATE SYSTEM MUST BE SPECIFIED FOR $_ARG_$ ELEMENT ID=$_ARG_$.";
const std::string notSupportedInThisVersion = "$_ARG_$ IS NOT SUPPORTED IN THIS VERSION.";
const std::string fractionalExponentWithFreeConvection =
    "FRACTIONAL EXPONENT CANNOT BE USED WITH FREE CONVECTION EQUATION PROVIDED.";
const std::string onlyOneIndependentNodeForNonlinearRbe =
    "ONLY 1 INDEPENDENT NODE IS ALLOWED FOR NONLINEAR RBE ID=$_ARG_$.";
const std::string staticAndDynamicLoadInNonlinearAnalysis =
    "CANNOT DEFINE BOTH STATIC AND DYNAMIC LOAD IN NONLINEAR ANALYSIS ID=$_ARG_$.";
const std::string missingTimeInformation = "TIME INFORMATION IS MISSING IN TIME-VARIANT ANALYSIS ID=$_ARG_$.";
const std::string curveFittingFailed = "CURVE FITTING FAILED IN MATERIAL ID=$_ARG_$.";
const std::string invalidThicknessIntegrationPoint =
    "INVALID THICKNESS INTEGRATION POINT IN COMPOSITE PROPERTY ID=$_ARG_$.";
const std::string invalidElementNodeCount = "$_ARG_$ ELEMENT WITH $_ARG_$ NODES IS INVALID.";
const std::string invalidNonlinearSolverParameter =
    "MISSING OR WRONG NONLINEAR SOLVER PARAMETER IN NONLINEAR ANALYSIS ID=$_ARG_$.";
const std::string invalidElementTypeForExplicitDynamics =
    "INVALID ELEMENT TYPE FOR NONLINEAR EXPLICIT DYNAMIC ANALYSIS.";
const std::string preloadNotSupported = "PRELOAD (BOLT LOAD) IS NOT SUPPORTED IN ANALYSIS ID=$_ARG_$.";
const std::string bothConditionsOnSameDof =
    "BOTH $_ARG_$ AND $_ARG_$ CANNOT BE SPECIFIED TO THE SAME DOF. NODE ID=$_ARG_$.";
const std::string missingEndtKeyword = "NO \"ENDT\" KEYWORD IN TABLE DEFINITION [LINE=$_ARG_$].";
const std::string noMaterialTemperatureField =
    "NO MATERIAL TEMPERATURE FIELD DEFINED FOR TEMPERATURE DEPENDENT MATERIALS.";
const std::string initialConditionNotApplicable = "INITIAL $_ARG_$ CANNOT BE APPLIED TO $_ARG_$ ELEMENTS.";
const std::string compositePropertyNotAssignable =
    "COMPOSITE PROPERTY CANNOT BE ASSIGNED TO $_ARG_$ ELEMENTS.";
const std::string missingMaterialProperty = "NO $_ARG_$ PROPERTY DEFINED IN MATERIAL ID=$_ARG_$.";
const std::string rigidZoneExceedsHalfLength =
    "RIGID ZONE OF HIGHER ORDER BAR ELEMENT ID =$_ARG_$ CANNOT EXCEED HALF THE ELEMENT LENGTH.";
const std::string materialCoordinateSystemChangedInStage =
    "MATERIAL COORDINATE SYSTEM CANNOT BE CHANGED DURING CONSTRUCTION STAGE ANALYSIS.";
const std::string invalidReleaseDof = "INVALID RELEASE DOF DEFINITION IN $_ARG_$  ELEMENT ID=$_ARG_$.";
const std::string dynamicLoadInEquivalentLinearAnalysis =
    "CANNOT CREATE DYNAMIC LOAD IN EQUIVALENT LINEAR ANALYSIS.";
const std::string invalidPipeConvectionLine = "INVALID LINE DEFINITION IN PIPE CONVECTION";
const std::string restartUnitSystemMismatch =
    "UNIT SYSTEM OF THE CURRENT ANALYSIS AND THAT RECORDED IN THE RESTART FILE($_ARG_$) ARE "
    "DIFFERENT.";
const std::string restartVersionMismatch =
    "CANNOT USE RESTART FILE GENERATED BY DIFFERENT VERSIONS.(V$_ARG_$)";
const std::string invalidSkeletonCurve = "INVALID SKELETON CURVE DATA IN HINGE ID=$_ARG_$. ( $_ARG_$ )";
const std::string notAssignableInHinge = "$_ARG_$ CANNOT BE ASSIGNED TO $_ARG_$. HINGE ID=$_ARG_$.";
const std::string repeatedNodeInElement =
    "IDENTICAL NODE ID IS DESIGNATED MULTIPLE TIMES WITHIN SINGLE ELEMENT, IDS =$_ARG_$.";
const std::string invalidMaterialParameter =
    "INVALID MATERIAL DATA IN MATERIAL ID=$_ARG_$. PARAMETER OF $_ARG_$.";
const std::string imaginaryAutoSpectralDensityInSet =
    "AUTO SPECTRAL DENSITY IN RANDOM ANALYSIS SET ID=$_ARG_$ CANNOT HAVE IMAGINARY PART";
const std::string thermalStressRestartWithCreep =
    "THERMAL STRESS ANALYSIS RESTART IS NOT SUPPORTED WITH JCI2008 OR JSCE2012 CREEP MATERIAL.";
const std::string pretensionTendonOnImproperPart =
    "PRETENSION TYPE TENDON PROFILE ID=$_ARG_$, IS ASSIGNED TO IMPROPER PART ID=$_ARG_$.";
const std::string invalidObjectParameter = "INVALID $_ARG_$ ID=$_ARG_$. PARAMETER OF $_ARG_$.";
const std::string invalidBuffetingParameter = "MISSING OR WRONG BUFFETING PARAMETER IN ANALYSIS ID=$_ARG_$.";
const std::string memberAssignmentNeedsMThetaHinge =
    "MEMBER ASSIGNMENT CAN ONLY BE DEFINED FOR M-THETA HINGES, MEMBER ID = $_ARG_$.";
const std::string memberElementAlreadyHasHinge =
    "MEMBER ID=$_ARG_$, ELEMENT ID=$_ARG_$ ALREADY HAS A HINGE PROPERTY DEFINED.";
const std::string rigidOffsetInsideMember =
    "INSIDE OF MEMBER ID=$_ARG_$, ELEMENT ID=$_ARG_$ HAS A RIGID OFFSET.";
const std::string invalidInitialMemberForce =
    "THE INITIAL MEMBER FORCE OF ELEMENT ID=$_ARG_$ WAS ENTERED INCORRECTLY.";
const std::string sharedSpcForceInSloshing =
    "NO TWO DYNAMIC CASES CAN REFER TO THE SAME SPC FORCE IN SLOSHING ANALYSIS.";
const std::string analysisWithoutDofs = "ANALYSIS ID=[$_ARG_$] LABEL=[$_ARG_$] HAS NO DEGREES OF FREEDOM.";
const std::string invalidHingeRelationship =
    "HINGE PROPERTY FOR ELEMENT ID=$_ARG_$ HAS INVALID LOAD-DEFORMATION RELATIONSHIP OR COMPONENT "
    "DEFINED.";
const std::string errorReadingDatalinkSource =
    "ERROR ENCOUNTERED WHILE READING DATA LINK SOURCE. [ $_ARG_$ ]";
const std::string improperDampingMethod =
    "IMPROPER DAMPING METHOD IS DEFINED. RESPONSE SPECTRUM ANALYSIS ID=$_ARG_$.";
const std::string cohesiveZoneNotAssignable =
    "COHESIVE ZONE PROPERTY CANNOT BE ASSIGNED TO $_ARG_$ ELEMENTS.";
const std::string invalidInitialStress = "INITIAL STRESS FOR ELEMENT ID = $_ARG_$ HAS INVALID INITIAL STRESS";
const std::string cannotOpenScratchFile = "CANNOT OPEN SCRATCH FILE $_ARG_$.";
const std::string cannotOpenRestartFile = "CANNOT OPEN RESTART FILE $_ARG_$.";
const std::string identicalRestartFilenames =
    "IDENTICAL RESTART FILENAME SPECIFIED FOR BOTH READ AND WRITE METHOD.";
const std::string cannotResumeResultFile = "CANNOT RESUME WRITING TO RESULT FILE $_ARG_$.";
const std::string cannotOpenFieldDataFile = "CANNOT OPEN FIELD DATA FILE '$_ARG_$'.";
const std::string unrecognizedFieldDataFormat = "FIELD DATA FILE FORMAT IS NOT RECOGNIZED. LINE = $_ARG_$.";
const std::string cannotOpenResultFile = "CANNOT OPEN RESULT FILE $_ARG_$.";
const std::string negativeJacobianInElement = "NEGATIVE JACOBIAN IN ELEMENT ID=$_ARG_$.";
const std::string solNotSupported = "SOL $_ARG_$ IS NOT SUPPORTED.";
const std::string errorSearchingObject = "ERROR ENCOUNTERED WHILE SEARCHING OBJECT '$_ARG_$' ID=$_ARG_$.";
const std::string eigenvalueComputationFailed = "FAILED TO COMPUTE EIGENVALUES. $_ARG_$";
const std::string bucklingWithEnhancedTetra =
    "CANNOT PERFORM BUCKLING ANALYSIS WITH ENHANCED FORMULATION TETRA ELEMENTS.";
const std::string denseEigenWithEnhancedTetra =
    "CANNOT RUN DENSE EIGEN SOLVER WITH ENHANCED FORMULATION TETRA ELEMENTS.";
const std::string cannotRunEmlsEigenSolver = "CANNOT RUN EMLS EIGEN SOLVER FOR $_ARG_$.";
const std::string factorizationSingularAt =
    "FACTORIZATION FAILED DUE TO SINGULARITY AT $_ARG_$ (RANK=$_ARG_$).";
const std::string linearSolverError = "ERROR IN LINEAR EQUATION SOLVER ($_ARG_$).";
const std::string materialAxisProjectionFailed =
    "FAILED TO DETERMINE MATERIAL AXIS BY PROJECTION IN ELEMENT ID=$_ARG_$.";
const std::string excessiveShellDistortion = "EXCESSIVE DISTORTION IN SHELL ELEMENT ID=$_ARG_$.";
const std::string threadError = "ERROR IN CREATING/JOINING THREADS : $_ARG_$.";
const std::string improperLinearSolver =
    "IMPROPER LINEAR EQUATION SOLVER SELECTED. TRY OTHER SOLVERS OR USE AUTO SELECTION.";
const std::string matrixTooLargeForSparseDirect = "SYSTEM MATRIX IS TOO LARGE FOR SPARSE DIRECT SOLVER.";
const std::string zeroLength1dElement = "1D ELEMENT LENGTH IS ZERO IN ELEMENT ID=$_ARG_$.";
const std::string scratchFileIoFailed = "SCRATCH FILE IO FAILED.";
const std::string failedToConvergeNonlinear =
    "FAILED TO CONVERGE IN NONLINEAR ANALYSIS. LOAD INCREMENT=$_ARG_$.";
const std::string singularConstitutiveMatrix =
    "SINGULARITY OCCURRED WHILE COMPUTING CONSTITUTIVE MATRIX IN ELEMENT ID=$_ARG_$.";
const std::string cannotComputeConsistentTangent =
    "CANNOT COMPUTE CONSISTENT TANGENT MODULUS, MATERIAL ID=$_ARG_$, ELEMENT ID=$_ARG_$, INTEGRATION "
    "POINT=$_ARG_$.";
const std::string fatigueModuleMessage = "FATIGUE MODULE MESSAGE";
const std::string tooManyThicknessPointsForExplicit =
    "TOO MANY THICKNESS INTEGRATION POINTS IN PROPERTY ID=$_ARG_$ FOR EXPLICIT DYNAMIC ANALYSIS "
    "(MAX=31)";
const std::string zeroCriticalTimeStep = "CRITICAL TIME STEP IS ZERO IN EXPLICIT DYNAMIC ANALYSIS.";
const std::string zeroDiagonalMassInExplicit = "ZERO DIAGONAL MASS FOUND IN EXPLICIT DYNAMIC ANALYSIS.";
const std::string directionalMpcMassInExplicit =
    "MPC MASS OR RBE MASS CANNOT BE DIRECTIONAL IN EXPLICIT DYNAMIC ANALYSIS.";
const std::string scalarMassOnRotationInExplicit =
    "SCALAR MASS CANNOT BE SPECIFIED TO ROTATIONAL INERTIA IN EXPLICIT DYNAMIC ANALYSIS.";
const std::string insufficientMemoryForEigenvectors =
    "INSUFFICIENT MEMORY FOR TEMPORARY EIGENVECTOR STORAGE. REDUCE NUMBER OF EIGENVECTORS.";
const std::string eigenFactorizationFailedClustered =
    "FACTORIZATION FAILED IN EIGEN SOLVER. THIS MAY BE DUE TO EXCESSIVELY CLUSTERED EIGENVALUES.";
const std::string solverExecutableTerminated = "ZOLEXE.EXE IS TERMINATED UNEXPECTEDLY.";
const std::string fatalNumericalErrorInElement = "FATAL NUMERICAL ERROR IN ELEMENT ID=$_ARG_$.";
const std::string amgFailedToConverge = "FAILED TO CONVERGE IN AMG ($_ARG_$).";
const std::string explicitDivergence = "DIVERGENCE DETECTED IN EXPLICIT DYNAMIC ANALYSIS.";
const std::string fastenerPatchNotFound = "FAILED TO FIND ELEMENT PATCH FOR FASTENER ID $_ARG_$.";
const std::string optNotSupported = "OPT $_ARG_$ IS NOT SUPPORTED.";
const std::string tooManyFastenerNodesForExplicit =
    "TOO MANY NODES CONNECTED TO FASTENER ID=$_ARG_$ FOR EXPLICIT DYNAMIC ANALYSIS (MAX=40)";
const std::string noFlexibleBodyMode = "NO FLEXIBLE-BODY MODE.";
const std::string explicitDivergenceAtTime =
    "DIVERGENCE DETECTED IN EXPLICIT DYNAMIC ANALYSIS AT TIME=$_ARG_$.($_ARG_$)";
const std::string propertyOnIncompatibleElement =
    "PROPERTY ID=$_ARG_$ IS ASSIGNED TO INCOMPATIBLE ELEMENT TYPE.";
const std::string degenerateContactSegment =
    "CONTACT SEGMENT WITH NODE IDS = $_ARG_$ IS INVALID. IDENTICAL NODAL COORDINATES FOUND IN THE "
    "SEGMENT.";
const std::string rigidMaterialInComposite =
    "RIGID MATERIAL IN COMPOSITE PROPERTY (ID = $_ARG_$) IS NOT ALLOWED.";
const std::string insufficientMemoryForRitzVectors = "INSUFFICIENT MEMORY FOR TEMPORARY RITZ VECTOR STORAGE.";
const std::string multiBodyOverConstrained = "MULTI-BODY SYSTEM SEEMS TO BE OVER-CONSTRAINED.";
const std::string singularStiffnessFactorization =
    "FACTORIZATION FAILED DUE TO SINGULARITY IN STIFFNESS MATRIX (RANK=$_ARG_$).";
const std::string zeroStressConstraintLimit =
    "LIMIT VALUE OF STRESS CONSTRAINT FOR MATERIAL ID = $_ARG_$ IS ZERO.";
const std::string restartElementInconsistent =
    "ERROR ENCOUNTERED DURING ANALYSIS RESTART. CURRENT ELEMENT IS INCONSISTENT WITH STORAGE DATA.";
const std::string tensileStressInMaterialModel =
    "ERROR ENCOUNTERED IN $_ARG_$ MATERIAL MODEL. TENSILE STRESS IS APPLIED IN ELEMENT ID= $_ARG_$ "
    "MATERIAL ID= $_ARG_$.";
const std::string materialModelNeedsContinuumElement =
    "MATERIAL ID $_ARG_$ $_ARG_$ MATERIAL MODEL ONLY CAN BE USED WITH SOLID, PLAIN STRAIN, OR "
    "AXISYMMETRIC ELEMENT.";
const std::string materialModelNeedsContinuumElementId =
    "MATERIAL ID $_ARG_$ $_ARG_$ MATERIAL MODEL ONLY CAN BE USED WITH SOLID, PLAIN STRAIN, OR "
    "AXISYMMETRIC ELEMENT. ELEMENT ID $_ARG_$ CAN NOT BE USED WITH MODIFIED CAM CLAY MATERIAL MODEL.";
const std::string nonPositiveInitialVoidRatio =
    "ERROR ENCOUNTERED IN $_ARG_$ MATERIAL MODEL. IN MATERIAL ID $_ARG_$, INITIAL VOID RATIO MUST BE "
    "LARGER THAN ZERO.";
const std::string sensitivityNotSupportedForSol = "SENSITIVITY ANALYSIS IS NOT SUPPORTED FOR SOL $_ARG_$.";
const std::string materialModelWithViscoelastic =
    "ERROR ENCOUNTERED IN MATERIAL ID = $_ARG_$. $_ARG_$ MATERIAL MODEL CANNOT BE USED WITH "
    "VISCOELASTIC MATERIAL.$_ARG_$.";
const std::string cannotComputeElasticCreepTangent =
    "CANNOT COMPUTE ELASTIC-CREEP TANGENT MODULUS, MATERIAL ID=$_ARG_$, ELEMENT ID=$_ARG_$, "
    "INTEGRATION POINT=$_ARG_$.";
const std::string missingDilatancyAngle =
    "MISSING DILATANCY ANGLE IN COULOMB FRICTION MODEL WITH VARIABLE FRICTION ANGLE, MATERIAL ID= "
    "$_ARG_$. ";
const std::string shellInterfaceNeedsShell =
    "SHELL INTERFACE ELEMENT ID= $_ARG_$ CAN ONLY BE ATTACHED TO SHELL ELEMENTS.";
const std::string shellInterfaceWithoutShell =
    "SHELL INTERFACE ELEMENT ID= $_ARG_$ CANNOT FIND ATTACHED SHELL ELEMENT.";
const std::string pileNotEmbedded = "PILE ELEMENT ID= $_ARG_$ IS NOT EMBEDDED IN SOLID  ELEMENT.";
const std::string analysisCanceled = "ANALYSIS CANCELED BY USER REQUEST.";
const std::string missingGeotechParameter =
    "GEOTECH PARAMETER IS MISSING IN CONSOLIDATION ANALYSIS ID=$_ARG_$.";
const std::string failedToChangeElementProperty =
    "FAILED TO CHANGE ELEMENT PROPERTY TO PROPERTY ID = $_ARG_$. INCOMPATIBLE $_ARG_$.";
const std::string surfaceInterpolationFailed =
    "FAILED TO GENERATE SURFACE INTERPOLATION FUNCTION WITH GIVEN DATA.";
const std::string invalidSensorInSubcase = "INVALID SENSOR IS DEFINED WITH SUBCASE ID = $_ARG_$. ";
const std::string directionalNodalMassInExplicit =
    "CANNOT USE DIRECTIONAL NODAL MASS ELEMENT ID = $_ARG_$ IN EXPLICIT DYNAMIC ANALYSIS.";
const std::string noStableSlopeEquilibrium =
    "UNABLE TO FIND STABLE EQUILIBRIUM BASED ON GIVEN C, PHI IN SLOPE STABILITY ANALYSIS.\n"
    "FACTOR OF SAFETY MAY BE LESS THAN $_ARG_$.";
const std::string samPolylineIntegrationError =
    "ERROR WHILE INTEGRATION OF POLYLINE IN SAM MODULE (ELEMENT ID = $_ARG_$). CHECK POLYLINE "
    "DEFINITION.";
const std::string embeddedElementWithoutMother =
    "ERROR IN EMBEDDED ELEMENTS. FOLLOWING EMBEDDED ELEMENT HAS NO MOTHER ELEMENT : \n"
    "$_ARG_$.";
const std::string noMaterialForCPhiReduction =
    "NO MATERIAL FOUND COMPATIBLE WITH C-PHI REDUCTION IN SLOPE STABILITY ANALYSIS.";
const std::string linearCombinationNotSupported = "LINEAR COMBINATION $_ARG_$ IS NOT SUPPORTED.";
const std::string negativeJacobianFromContactAdjustment =
    "NEGATIVE JACOBIAN IN ELEMENT ID=$_ARG_$ DUE TO CONTACT SLAVE NODE ADJUSTMENTS";
const std::string valueOutOfRange = "$_ARG_$ SHOULD BE IN THE RANGE OF $_ARG_$ TO $_ARG_$";
const std::string cannotComputeCatenaryInitialLength =
    "CANNOT COMPUTE INITIAL LENGTH CORRESPONDING TO INPUT TENSION VALUE IN CATENARY CABLE ELEMENT "
    "ID=$_ARG_$.";
const std::string unstableBucklingMatrix = "UNSTABLE SYSTEM MATRIX FOR BUCKLING ANALYSIS.";
const std::string onlySensorTypeForTopology =
    "ONLY $_ARG_$ TYPE SENSOR IS ALLOWED AS DESIGN CONSTRAINT IN TOPOLOGY OPTIMIZATION.";
const std::string onlySingleFrequencySensorForTopology =
    "ONLY SYSTEM SENSOR WITH SINGLE FREQUENCY OBJECT IS ALLOWED AS DESIGN CONSTRAINT IN TOPOLOGY "
    "OPTIMIZATION.";
const std::string multiBodyPositionAnalysisFailed =
    "POSITION ANALYSIS FAILED IN MULTI-BODY ANALYSIS ID=$_ARG_$.";
const std::string multiBodyRedundantMotion = "MULTI-BODY SYSTEM SEEMS TO HAVE REDUNDANT MOTION.\n";
const std::string fluidStructureInteractionError =
    "FLUID-STRUCTURE INTERACTION ANALYSIS ERROR ENCOUNTERED : $_ARG_$.";
const std::string bushStiffnessNotPositiveDefinite =
    "STIFFNESS MATRIX IS NOT POSITIVE DEFINITE IN BUSH PROPERTY ID = $_ARG_$.";
const std::string lineInterfaceWithoutLocalVector =
    "LINE INTERFACE ELEMENT DOES NOT HAVE LOCAL COORDINATE VECTOR. ID = $_ARG_$.";
const std::string pchOutputWithConsistentMass =
    "PRINTING PCH OUTPUT FILES DOES NOT ALLOW USE OF CONSISTENT MASS MATRIX. ";
const std::string errorSearchingContactSlaveNode = "ERROR ENCOUNTERED WHILE SEARCHING CONTACT SLAVE NODE. ";
const std::string cannotDetermineLocalAxis =
    "CANNOT DETERMINE LOCAL AXIS OF ELEMENT ID = $_ARG_$ DUE TO ABNORMAL SHAPE.";
const std::string insufficientMemoryForIpcMode = "INSUFFICIENT MEMORY FOR IPC MODE. REDUCE MODEL SIZE.";
const std::string incompatibleManufacturingConstraints =
    "INCOMPATIBLE MANUFACTURING CONSTRAINTS ID=$_ARG_$ AND $_ARG_$ DEFINED ON MESHSET.";
const std::string extrusionCurveBeyondIntersection =
    "EXTRUSION CURVE CANNOT EXTEND BEYOND AN INTERSECTION POINT IN MANUFACTURING CONSTRAINT ID "
    "$_ARG_$.";
const std::string extrusionCurveNotContinuous =
    "EXTRUSION CURVE SHOULD BE CONTINUOUS IN MANUFACTURING CONSTRAINT ID=$_ARG_$.";
const std::string invalidExtrusionCurve =
    "INVALID EXTRUSION CURVE DATA IN MANUFACTURING CONSTRAINT ID=$_ARG_$.";
const std::string extrusionCurvatureTooLarge =
    "THE CURVATURE OF THE EXTRUSION CURVE IS TOO LARGE IN MANUFACTURING CONSTRAINT ID=$_ARG_$.";
const std::string extrusionPathPerpendicular =
    "THE PATH AND GUIDELINE IN EXTRUSION MANUFACTURING CONSTRAINT ID=$_ARG_$ CANNOT BE PERPENDICULAR.";
const std::string extrusionPathIntersects =
    "THE PATH AND GUIDELINE IN EXTRUSION MANUFACTURING CONSTRAINT ID=$_ARG_$ CANNOT INTERSECT ONE "
    "ANOTHER.";
const std::string extrusionPathStraightLine =
    "THE PATH AND GUIDELINE IN EXTRUSION MANUFACTURING CONSTRAINT ID=$_ARG_$ CANNOT FORM A STRAIGHT "
    "LINE.";
const std::string presingularCheckObjectNotDefined =
    "ERROR ENCOUNTERED WHILE PRESINGULAR CHECKING. '$_ARG_$' ID=$_ARG_$ IS NOT PROPERLY DEFINED.";
const std::string invalidManufacturingDirection =
    "INVALID DIRECTION DATA IN MANUFACTURING CONSTRAINT ID=$_ARG_$.";
const std::string unreasonableHysteresisData = "UNREASONABLE DATA IN HYSTERESIS TYPE MATERIAL ID=$_ARG_$.";
const std::string ibModelPointNotFound = "FAILED TO FIND POINT ID=$_ARG_$ IN IB MODEL DEFINITION.";
const std::string slopeLargerThanInitial =
    "THE $_ARG_$-TH SLOPE CALCULATED FROM TABLE ID= $_ARG_$ IS LARGER THAN THE INITIAL SLOPE.";
const std::string timeStepTooLargeForViscoelastic = "TIME STEP IS TOO LARGE FOR VISCOELASTIC MATERIAL.";
const std::string negativeBarSectionProperty =
    "BAR SECTION PROPERTY HAS NEGATIVE VALUE IN BAR ELEMENT ID=$_ARG_$.";
const std::string negativeAutoSpectralDensity = "NEGATIVE AUTO SPECTRAL DENSITY VALUE IS NOT ALLOWED.";
const std::string imaginaryAutoSpectralDensity = "IMAGINARY PART OF AUTO SPECTRAL DENSITY IS NOT ALLOWED.";
const std::string materialNotSupportedForTopology = "MATERIAL IS NOT SUPPORTED FOR TOPOLOGY OPTIMIZATION.";
const std::string hyperelasticWithoutGeometricNonlinearity =
    "HYPER ELASTIC MATERIALS IN A NON-GEOMETRIC NONLINEAR ANALYSIS IS NOT ALLOWED";
const std::string modalDampingMatrixTooLarge =
    "MODAL DAMPING/MODAL STRAIN ENERGY DAMPING MATRIX CANNOT DEFINE. REDUCE MODEL SIZE.";
const std::string materialModelNeedsUniaxial =
    "MATERIAL ID $_ARG_$ $_ARG_$ MATERIAL MODEL ONLY CAN BE USED WITH UNIAXIAL BEHAVIOR.";
const std::string rollingCalcTerminated = "ROLLING_CALC.DLL IS TERMINATED UNEXPECTEDLY.";
const std::string materialInitialValuesFailed = "MATERIAL ID $_ARG_$ FAILED TO COMPUTE INITIAL VALUES";
const std::string initialDeformationUndetermined =
    "INITIAL DEFORMATION CANNOT BE DETERMINED FOR INITIAL CONDITIONS. ELEMENT ID = $_ARG_$.";
const std::string elementAndHistoryOutputLocationDiffer =
    "LOCATION OF ELEMENT OUTPUT IN ANALYSIS ( $_ARG_$ ) IS DIFFERENT FROM LOCATION OF HISTORY OUTPUT "
    "( $_ARG_$ ).";
const std::string importedEigenvaluesUnavailable =
    "IMPORTED EIGENVALUES ARE NOT AVAILABLE FOR ANALYSIS ID = $_ARG_$.";
const std::string failedToConvergeNonlinear2 =
    "FAILED TO CONVERGE IN NONLINEAR ANALYSIS. LOAD INCREMENT=$_ARG_$.";
const std::string notAvailableInRitzMethod = "$_ARG_$ IS NOT AVAILABLE IN THE RITZ VECTOR METHOD.";
const std::string hingeCellStrainFailed = "HINGE ID = $_ARG_$. $_ARG_$-TH CELL STRAIN FAILED TO COMPUTE.";
const std::string hingeCellStressFailed = "HINGE ID = $_ARG_$. $_ARG_$-TH CELL STRESS FAILED TO COMPUTE.";
const std::string hingeCellTangentFailed =
    "HINGE ID = $_ARG_$. $_ARG_$-TH CELL TANGENT MODULUS FAILED TO COMPUTE.";
const std::string zeroHingeInitialStiffness =
    "INITIAL STIFFNESS IS ZERO IN HINGE ID=$_ARG_$, COMPONENT = $_ARG_$.";
const std::string hingeComponentNotAssignable =
    "HINGE COMPONENT $_ARG_$ CANNOT BE ASSIGNED TO $_ARG_$ ELEMENT.";
const std::string prescribedDofNotConstrained =
    "$_ARG_$ OF NODE ID=$_ARG_$ ASSIGNED PRESCRIBED VALUE IS NOT CONSTRAINED.";
const std::string incompatibleHingeSet =
    "HINGE ID=$_ARG_$ IS ASSIGNED TO INCOMPATIBLE HINGE SET (ID=$_ARG_$).";
const std::string timeStepTooLargeForRungeKutta = "TIME STEP IS TOO LARGE FOR RUNGE KUTTA METHOD.";

// ---- divider row; the warnings follow it ----
const std::string warningTmp = "Warning tmp";

// ---- warnings ----
const std::string unknownOutputOption = "UNKNOWN OUTPUT OPTION [$_ARG_$] AT SUBCASE ID=$_ARG_$";
const std::string cannotCloseScratchFile = "CANNOT CLOSE SCRATCH FILE $_ARG_$.";
const std::string cannotAppendResultData =
    "FAILED TO APPEND RESULT DATA TO $_ARG_$ DUE TO INCOMPATIBILITY. CREATING A NEW RESULT FILE.";
const std::string analysisDataIoFailed =
    "FAILED TO WRITE ANALYSIS DATA TO FILE OR READ ANALYSIS DATA FROM FILE.";
const std::string noEquationSolverSet = "NO EQUATION SOLVER SET. DEFAULT SOLVER $_ARG_$ WILL BE USED.";
const std::string noConstraintsDefined = "NO CONSTRAINTS DEFINED. SYSTEM MAY BE SINGULAR.";
const std::string unreasonableMaterialData = "UNREASONABLE MATERIAL DATA IN MATERIAL ID=$_ARG_$.";
const std::string invalidArgumentValue = "INVALID PARAMETER VALUE FOR INPUT ARGUMENT '--$_ARG_$'. IGNORED.";
const std::string singularityFixedAt = "SINGULARITY IN SYSTEM MATRIX FIXED AT $_ARG_$.";
const std::string frequencyBoundaryTooClose =
    "ONE OF THE FREQUENCY RANGE BOUNDARIES IS TOO CLOSE TO A FREQUENCY.";
const std::string sturmCheckNotPassed = "EIGENVALUES HAVE NOT PASSED STURM SEQUENCE CHECK.";
const std::string indefiniteMassMatrix = "MASS MATRIX SEEMS TO BE INDEFINITE.";
const std::string eigenvectorsNotOrthogonal = "EIGENVECTORS MAY NOT BE ORTHOGONAL.";
const std::string eigenvaluesTooClustered =
    "EIGENVALUES ARE TOO CLUSTERED TO EVALUATE. SOME EIGENVALUES MAY BE LOST.";
const std::string eigenFactorizationFailedSomeLost =
    "FACTORIZATION FAILED IN EIGEN SOLVER. SOME EIGENVALUES MAY BE LOST OR INCORRECT.";
const std::string negativeStrengthValue = "NEGATIVE STRENGTH VALUE SPECIFIED $_ARG_$. USING ABSOLUTE VALUE.";
const std::string noShiftForEigenSolver =
    "FAILED TO FIND APPROPRIATE SHIFT FOR EIGEN SOLVER. (ZERO MASS MATRIX).";
const std::string directionalSystemMass =
    "SYSTEM MASS IS DIRECTIONAL. USING AVERAGED MASS CENTER AS MODAL FACTOR REFERENCE.";
const std::string invalidWeightGeneratorGridPoint =
    "INVALID GRID POINT ID=$_ARG_$ SPECIFIED IN GRID POINT WEIGHT GENERATOR.";
const std::string invalidModalFactorGridPoint =
    "INVALID GRID POINT ID=$_ARG_$ SPECIFIED IN MODAL FACTOR CALULATION.";
const std::string nonZeroDofsAutoConstrained =
    "ONE OR MORE NON-ZERO DEGREES OF FREEDOM WERE AUTO-CONSTRAINED.";
const std::string temperatureOverriddenByDatalink =
    "TEMPERATURE ID=$_ARG_$ IS OVERRIDDEN. USING DATALINK TEMPERATURE.";
const std::string singularityFixed = "SINGULARITY IN SYSTEM MATRIX FIXED.";
const std::string fewEigenvaluesInRange = "THERE ARE ONLY $_ARG_$ EIGENVALUES IN THE RANGE OF INTEREST.";
const std::string fewEigenvaluesComputed = "ONLY $_ARG_$ EIGENVALUES WERE COMPUTED SUCCESSFULLY.";
const std::string sturmCheckPassed = "FREQUENCIES HAVE SUCCESSFULLY PASSED STURM SEQUENCE CHECK.";
const std::string gravityDirectionIgnoredAxisymmetric =
    "IGNORING $_ARG_$-DIRECTION IN GRAVITY LOAD FOR AXISYMMETRIC PROBLEM.";
const std::string compositeWithoutLayerSkipped =
    "NO LAYER DEFINED IN COMPOSITE PROPERTY. NOT CREATING PROPERTY ID=$_ARG_$.";
const std::string offDiagonalMassIgnoredByLumped =
    "OFF-DIAGONAL MASS TERMS FROM MASS ELEMENTS IGNORED BY LUMPED MASS.";
const std::string mpcWithLumpedMass = "MPC CANNOT BE IMPOSED CORRECTLY WITH LUMPED MASS.";
const std::string failedToConvergeNonlinear3 =
    "FAILED TO CONVERGE IN NONLINEAR ANALYSIS. LOAD INCREMENT=$_ARG_$.";
const std::string returnMappingIterationLimit =
    "MAXIMIUM ITERATION REACHED IN RETURN MAPPING, MATERIAL ID=$_ARG_$, ELEMENT ID=$_ARG_$, "
    "INTEGRATION POINT=$_ARG_$.";
const std::string prestressedStiffnessNotPositiveDefinite =
    "STIFFNESS MATRIX IS NOT POSITIVE DEFINITE IN PRE-STRESSED LINEAR STATIC ANALYSIS.";
const std::string midNodesRelocatedInElement =
    "MID-NODES OF ELEMENT ID=$_ARG_$ ARE RELOCATED TO CENTER OF CORNER POINTS.";
const std::string allMidNodesRelocated =
    "MID-NODES OF ALL QUADRATIC SOLID ELEMENTS ARE RELOCATED TO CENTER OF CORNER POINTS.";
const std::string lambdaOutOfRangeElastoPlastic =
    "PARAMETER LAMBDA IS OUT OF RANGE IN ELASTO-PLASTIC MATERIAL ID=$_ARG_$. MODIFIED VALUE $_ARG_$ "
    "WILL BE USED.";
const std::string amgStoppedBeforeConvergence =
    "ITERATIONS STOPPED IN AMG BEFORE SOLUTION CONVERGED ($_ARG_$).";
const std::string zeroStefanBoltzmannConstant =
    "STEFAN BOLTZMANN CONSTANT IS ZERO. RADIATION CONDITIONS WILL HAVE NO EFFECT.";
const std::string segmentWithoutElementIgnored =
    "FAILED TO FIND ELEMENT CONNECTED TO SEGMENT WITH NODE ID = $_ARG_$. THIS SEGMENT IS IGNORED.";
const std::string segmentWithManyElementsIgnored =
    "MULTIPLE CONNECTED ELEMENTS FOUND FOR SEGMENT WITH NODE ID = $_ARG_$. THIS SEGMENT IS IGNORED.";
const std::string noMatchingWeldedSegments =
    "NO MATCHING SEGMENTS FOUND WITHIN TOLERANCE IN WELDED/BI-DIRECTIONAL CONTACT. PAIR IDS = #, #";
const std::string contactSurfaceNotFound =
    "CONTACT SURFACE ID = $_ARG_$ DEFINED IN CONTACT PARAMETER ID = $_ARG_$ WAS NOT FOUND. THIS "
    "PARAMETER IS IGNORED.";
const std::string contactParameterNotFound =
    "FAILED TO FIND CONTACT PARAMETER ID= $_ARG_$. THIS CONTACT PARAMETER IS IGNORED.";
const std::string criticalTimeStepUndetermined =
    "CANNOT DETERMINE CRITICAL TIME STEP. TIME STEP VALUE OF $_ARG_$ WILL BE USED.";
const std::string dependentNodeOffDiagonalMassIgnored =
    "OFF-DIAGONAL MASS FOR DEPENDENT NODE IS IGNORED IN EXPLICIT DYNAMIC ANALYSIS.";
const std::string dofAlreadyConstrainedMpcIgnored =
    "DOF $_ARG_$ IS ALREADY CONSTRAINED. MULTIPOINT CONSTRAINT IGNORED.";
const std::string amgIterationLimitTooSmall =
    "MAXIMUM NUMBER OF ITERATIONS FOR AMG IS TOO SMALL. DEFAULT VALUE $_ARG_$ WILL BE USED.";
const std::string amgToleranceTooSmall =
    "RESIDUAL TOLERANCE FOR AMG IS TOO SMALL. DEFAULT VALUE $_ARG_$ WILL BE USED.";
const std::string subcaseCombinationDiscrepancy =
    "DISCREPANCY IN CONSTRAINTS, CONTACT OR MATERIAL PROPERTIES FOUND IN SUBCASE COMBINATION.\n"
    "     COMBINED RESULTS OF SUBCASES ID $_ARG_$ AND $_ARG_$ MAY BE INVALID";
const std::string fastenerDiameterTooSmall =
    "DIAMETER OF FASTENER ID $_ARG_$ IS TOO SMALL TO FIND ADJACENT NODES ON ELEMENT PATCH.";
const std::string designConstraintNotSatisfied = "UPDATED DESIGN VARIABLES DO NOT SATISFY DESIGN CONSTRAINT.";
const std::string minimumTimeStepReached =
    "MINIMUM ALLOWED TIME STEP REACHED. $_ARG_$ MAY BE LARGER THAN THE SPECIFIED.";
const std::string dominantFrequencyEstimateFailed =
    "FAILED TO ESTIMATE DOMINANT FLEXIBLE FREQUENCY IN LINEAR DIRECT TRANSIENT ANALYSIS ID = "
    "$_ARG_$. DEFAULT TIME STEP WILL BE USED.";
const std::string infiniteResponseAtResonance =
    "INFINITE RESPONSE DETECTED DUE TO RESONANCE AT FREQUENCY = $_ARG_$.";
const std::string infiniteResponseFromRigidBodyMode =
    "INFINITE RESPONSE DETECTED DUE TO RIGID BODY MODE AT FREQUENCY = 0";
const std::string rigidMembraneMaterial =
    "MEMBRANE MATERIAL IS RIGID. BENDING AND SHEAR PROPERTIES WILL BE IGNORED.";
const std::string multiBodyOverConstrainedIgnored =
    "MULTI-BODY SYSTEM SEEMS TO BE OVER-CONSTRAINED. DUPLICATED CONSTRAINTS IGNORED.";
const std::string excessiveMeshIrregularity =
    "EXCESSIVE MESH IRREGULARITY DETECTED FOR CASTING DIRECTION CONTROL. ESTIMATED IRREGULARITY "
    "MEASURE = $_ARG_$.";
const std::string jointEnforcementError = "EXCESSIVE ERROR DETECTED DURING JOINT CONDITION ENFORCEMENT.";
const std::string negativeJacobianInElement2 = "NEGATIVE JACOBIAN IN ELEMENT ID=$_ARG_$.";
const std::string systemMatrixExceedsMemory =
    "SYSTEM MATRIX SEEMS TO BE TOO LARGE FOR PHYSICAL MEMORY. PERFORMANCE MAY BE SEVERELY DEGRADED.";
const std::string bushStiffnessNotPositiveDefinite2 =
    "STIFFNESS MATRIX IS NOT POSITIVE DEFINITE IN BUSH PROPERTY ID = $_ARG_$.";
const std::string equivalentLinearNotConverged =
    "EQUIVALENT LINEAR ANALYSIS FAILED TO CONVERGE WITHIN MAX. ITERATIONS  = $_ARG_$.";
const std::string porePressureFieldOverridden =
    "PORE-PRESSURE FIELD DEFINED FOR ANALYSIS ID = $_ARG_$ IS OVERRIDEN.";
const std::string variableMassImplicitDynamics =
    "IMPLICIT DYNAMIC ANALYSIS OF VARIABLE MASS SYSTEM IS NOT SUPPORTED (ANALYSIS ID = $_ARG_$). "
    "ONLY FINAL PORE-PRESSURE FIELD WILL BE USED.";
const std::string unparallelK0Ignored =
    "IGNORING UNPARALLEL K0 DEFINITION FOR PLANE STRAIN/AXISYMMETRIC ELEMENTS. MAXIMUM K0 VALUE WILL "
    "BE USED FOR COMPUTING HORIZONTAL STRESSES.";
const std::string pointOutsideInterpolationRange =
    "POINT($_ARG_$,$_ARG_$,$_ARG_$) IS OUTSIDE OF VALID INTERPOLATION RANGE.";
const std::string invalidSensorObject = "INVALID OBJECT IS DEFINED IN SENSOR ID =$_ARG_$.";
const std::string criticalSafetyFactorNotFound =
    "CRITICAL FACTOR OF SAFETY NOT FOUND IN $_ARG_$ TRIES IN SLOPE STABILITY ANALYSIS.\n"
    "FACTOR OF SAFETY IS GREATER THAN $_ARG_$.";
const std::string gaugeHostMaterialNotUnique =
    "MATERIAL ASSIGNED TO HOST MESH OF GAUGE PROPERTY (ID = $_ARG_$) IS NOT UNIQUE.";
const std::string initialStressIgnoredFor =
    "INITIAL FORCE/STRESS IS IGNORED TO ACCOMODATE $_ARG_$ IN $_ARG_$ (ID = $_ARG_$).";
const std::string onlySingleEntryPerLoadSet =
    "ONLY SINGLE $_ARG_$ IS ALLOWED FOR LOAD SET ID = $_ARG_$. DUPLICATED $_ARG_$ IGNORED.";
const std::string constrainedDofDependenciesDiscarded =
    "$_ARG_$ CONSTRAINED DOFS FOUND WITH DEPENDENCY DEFINITIONS BY MULTIPOINT CONSTRAINT.\n"
    "CORRESPONDING DEPENDENCIES ARE DISCARDED.";
const std::string duplicatePrescribedValueIgnored =
    "$_ARG_$ IS ALREADY ASSIGNED A PRESCRIBED $_ARG_$ VALUE. DUPLICATED $_ARG_$ ENTRY IS IGNORED.";
const std::string duplicateInitialStressIgnored =
    "INITIAL FORCE/STRESS IS ALREADY ASSIGNED TO ELEMENT ID $_ARG_$. DUPLICATED INITIAL STRESS IS "
    "IGNORED.";
const std::string behaviorIgnoredForPretension =
    "$_ARG_$ BEHAVIOR IS IGNORED TO ACCOMODATE PRETENSION IN $_ARG_$ (ID = $_ARG_$).";
const std::string additionalModesNoGain =
    "$_ARG_$ ADDITIONAL MODES CANNOT INCREASE MINIMUM MODAL PATICIPATION MASS.";
const std::string insufficientMemoryForElementOutput =
    "CANNOT CALCULATE ELEMENT OUTPUT DUE TO INSUFFICIENT MEMORY CAPACITY.";
const std::string gridDampingDiffersByDirection =
    "DAMPING COEFFICIENTS OF GRID ELEMENT ID = $_ARG_$ DIFFER IN TWO MATERIAL DIRECTIONS.\n"
    "VALUES ASSIGNED TO FIRST MATERIAL DIRECTION IS USED.";
const std::string embeddedElementsWithoutMothers =
    "FOLLOWING EMBEDDED ELEMENTS HAVE NOT ENOUGH MOTHER ELEMENTS : \n"
    "$_ARG_$.\n";
const std::string planeGridShearStressIgnored =
    "PLANE GRID ELEMENTS CANNOT HAVE NON-ZERO SHEAR STRESS.\n"
    "INITIAL SHEAR STRESS OF GRID ELEMENT ID = $_ARG_$ IS IGNORED.";
const std::string targetMassParticipationReduced =
    "TARGET MASS PARTICIPATION FACTOR IS TOO LARGE COMPARED TO MAXIMUM MASS PARTICIPATION "
    "FACTOR($_ARG_$).\n"
    "REDUCED TARGET MASS PARTICIPATION($_ARG_$) IS USED.";
const std::string duplicateJointsIgnored =
    "DUPLICATE JOINTS (IDS : $_ARG_$, $_ARG_$) FOUND CONNECTING IDNTICAL PAIR OF BODIES. INGNORING "
    "JOINT ID =$_ARG_$.";
const std::string noFlexibleBodyMode2 = "NO FLEXIBLE-BODY MODE.";
const std::string masterSlaveSwitched =
    "SLAVE NODE ID=$_ARG_$ IS SHARED BY MULTIPLE RIGID BODY ELEMENTS. MASTER-SLAVE RELATIONSHIP "
    "BETWEEN NODE ID=$_ARG_$ AND NODE ID=$_ARG_$ OF ELEMENT ID=$_ARG_$ IS SWITCHED.";
const std::string interpolationElementMerged =
    "REFERENCE NODE ID=$_ARG_$ IS SHARED BY MULTIPLE INTERPOLATION ELEMENTS. ELEMENT ID=$_ARG_$ IS "
    "MERGED.";
const std::string changeElementPropertyWarning =
    "WARNING TO CHANGE ELEMENT PROPERTY TO PROPERTY ID = $_ARG_$. INCOMPATIBLE $_ARG_$.";
const std::string onlyDiagonalLumpedMassPrinted =
    "ONLY DIAGONAL LUMPED MASS MATRICES ARE PRINTED IN EXTRA OUTPUT FILES (PCH, ETC.). ";
const std::string noTowerInformation =
    "NO TOWER INFORMATION DEFINED IN STORY PARAMETER ID = $_ARG_$ FOR STORY ELEMENTS.";
const std::string nonMatchingFieldDataEntries =
    "$_ARG_$ NON-MATCHING DATA POINT ENTRIES FOUND WHILE PROCESSING FIELD DATA FILE = $_ARG_$.";
const std::string timeStepBelowCriticalInConsolidation =
    " TIME STEP IS LESS THAN CRITICAL TIME STEP IN CONSOLIDATION ANALYSIS. ";
const std::string hybridTetraReplacedInEigen =
    "HYBRID TETRA ELEMENT IS REPLACED WITH STANDARD TETRA ELEMENT IN EIGEN ANALYSIS";
const std::string crbWallBaseEdgeUndetermined =
    "CANNOT DETERMINE BASE EDGE IN CRB WALL ELEMENT ID=$_ARG_$. DEFAULT EDGE WITH NODE IDS = "
    "$_ARG_$, $_ARG_$ WILL BE USED.";
const std::string timeStepExceedsDuration = "CALCULATED TIMESTEP IS LARGER THAN TOTAL ANALYSIS DURATION.";
const std::string rigidBodyPointsNotCoplanar =
    "POINTS CONNECTED BY RIGID BODY ELEMENT ARE NOT IN SAME PLANE. CHECK MASTER-SLAVE NODES.\n"
    "     MASTER NODE ID = $_ARG_$, COORDINATE = $_ARG_$.\n"
    "     SLAVE NODE ID = $_ARG_$, COORDINATE = $_ARG_$.";
const std::string generalContactNotConverged =
    "FAILED TO CONVERGE IN GENERAL CONTACT ITERATIONS. $_ARG_$ GREATER THAN TOLERANCE.";
const std::string noSeparateLoadSetOutput =
    "IN NONLINEAR ANALYSIS, RESULTS OUTPUT FOR INDIVIDUAL LOAD SET IS NOT SEPARATELY PROVIDED.";
const std::string lambdaMinimumOutOfRange =
    "LAMBDA MINIMUM IS OUT OF RANGE IN GHE-S MATERIAL ID=$_ARG_$, ELEMENT ID=$_ARG_$. MODIFIED "
    "LAMBDA MINIMUM OF $_ARG_$ WILL BE USED.";
const std::string minimumDimensionTooSmall =
    "THE MINIMUM DIMENSION SIZE IS RECOMMENDED TO BE AT LEAST THREE TIMES THE AVERAGE ELEMENT "
    "SIZE($_ARG_$).";
const std::string zeroCrackingMoment = "CRACKING MOMENT IS ZERO IN PROPRETY ID=$_ARG_$.";
const std::string badlyFormedPartGeometry = "BADLY FORMED GEOMETRY FOUND IN PART ID=$_ARG_$, NAME=$_ARG_$.";
const std::string insufficientModes = "INSUFFICIENT NUMBER OF MODES TO REPRESENT STRUCTURAL RESPONSE.";
const std::string raysweepIntegrationFailed =
    "RAYSWEEP INTEGRATION FAILED AT ELEMENT ID=$_ARG_$ AT ($_ARG_$, $_ARG_$, $_ARG_$) <-> ($_ARG_$, "
    "$_ARG_$, $_ARG_$)";
const std::string nonPositiveFlexuralStiffnessFactor =
    "ELEMENT ID=$_ARG_$ ACTUAL FLEXURAL STIFFNESSES ADDITIONAL FACTOR IS LESS THAN OR EQUAL TO ZERO.";
const std::string zeroMountingSpringStiffnessChanged =
    "ZERO STIFFNESS OF MOUNTING SPRING WITH A FRICTION PART WILL BE CHANGED BY 1.0E+06 TIMES OF THE "
    "DAMPER STIFFNESS";
const std::string raysweepIntegrationFailed2 =
    "RAYSWEEP INTEGRATION FAILED AT ELEMENT ID=$_ARG_$ AT ($_ARG_$, $_ARG_$, $_ARG_$) <-> ($_ARG_$, "
    "$_ARG_$, $_ARG_$)";
const std::string rigidOffsetsReplacedByLx =
    "ELEMENT ID=$_ARG_$ RIGID OFFSETS LY AND LZ WITH MULTI-COMPONENT HINGES ASSIGNED ARE REPLACED TO "
    "LX.";
const std::string hingeOutputPositionMoved =
    "OUTPUT POSITION OF THE HINGE ASSIGNED ELEMENT ID=$_ARG_$ CHANGES FROM PANEL ZONE TO OFFSET "
    "POSITION.";
const std::string timeLoadOnInactiveElementIgnored =
    "TIME LOAD CAN BE APPLIED ONLY ALREADY ACTIVATED ELEMENT ($_ARG_$). THIS TIME LOAD IS IGNORED.";
const std::string cannotAssignMemberComponent = "CANNOT ASSIGN $_ARG_$ COMPONENT TO MEMBER ID=$_ARG_$.";
const std::string interactionHingeReassigned =
    "THE HINGE OF INTERACTION TYPE FX, MY, MZ WITH MEMBER ID=$_ARG_$ IS ASSIGNED TO $_ARG_$ WITH "
    "ELEMENT ID=$_ARG_$ DUE TO THE RIGID OFFSET.";
const std::string initialSolutionClearedForSloshing =
    "INITIAL SOLUTION SHOULD BE CLEARED IN SLOSHING ANALYSIS USING MODAL METHOD.";
const std::string partialHingeYieldPoints =
    "IN HINGE ID=$_ARG_$, ONLY $_ARG_$ $_ARG_$ SIDE YIELD POINTS ARE USED.";
const std::string equalHingeStiffnesses =
    "IN HINGE ID=$_ARG_$, THE COMPRESSIVE AND TENSILE STIFFNESSES ARE USED EQUALLY.";
const std::string sameHingeInitialStiffness =
    "IN HINGE ID=$_ARG_$, THE SAME INITIAL STIFFNESS IS USED FOR THE COMPRESSION AND TENSION.";
const std::string elementDofIntegrationPoint =
    "$_ARG_$( ELEMENT ID=$_ARG_$, DOF=$_ARG_$, INTEGRATION POINT=$_ARG_$ )";
const std::string singularityAutoConstrainedAt =
    "SINGULARITY IN THE SYSTEM MATRIX IS AUTO-CONSTRAINED AT $_ARG_$.";
const std::string zeroYieldDisplacementIncrease =
    "INCREASE IN YIELD DISPLACEMENT OF HINGE ID=$_ARG_$ IS CLOSE TO ZERO.";
const std::string offDiagonalStiffnessIgnored =
    "LINEAR STIFFNESS OFF-DIAGONAL TERMS OF $_ARG_$ TO WHICH $_ARG_$ OF ELEMENT ID=$_ARG_$ IS "
    "ASSIGNED IS IGNORED.";
const std::string hingeExcludesSurfaceSpringForces =
    "ELEMENT ID=$_ARG_$ TO WHICH HINGE IS ASSIGNED EXCLUDES SURFACE SPRING MEMBER FORCES.";
const std::string pDeltaIgnoredForSignChange =
    "DIAGONAL TERM OF ELEMENT STIFFNESS TO WHICH HINGE IS ASSIGNED HAS CHANGED SIGN DUE TO GEOMETRIC "
    "STIFFNESS. P-DELTA EFFECTS ARE IGNORED. ( ELEMENT ID=$_ARG_$, STEP ID=$_ARG_$)";

// ---- progress and problem information, then the coded report lines ----
const std::string progressMessage500 = "Progress message 500";
const std::string problemInformation600 = "Problem information 600";
const std::string reportCode0 = "/*CODE[0],ID[$_ARG_$]*/";
const std::string reportCode3 = "/*CODE[3]*/";
const std::string reportCode10 =
    "/*CODE[10],TYPE[$_ARG_$],ID[$_ARG_$],NUMYDATA[$_ARG_$],$_ARG_$,$_ARG_$,$_ARG_$*/";
const std::string reportCode13 = "/*CODE[13],ID[$_ARG_$],$_ARG_$,$_ARG_$*/";
const std::string reportCode14 = "/*CODE[14],ID[$_ARG_$],$_ARG_$,$_ARG_$*/";
const std::string reportCode15 =
    "/*CODE[15],TYPE[$_ARG_$],ID[$_ARG_$],NUMYDATA[$_ARG_$],$_ARG_$,$_ARG_$,$_ARG_$,$_ARG_$*/";
const std::string reportCode16 = "/*CODE[16],ID[$_ARG_$],$_ARG_$,$_ARG_$,$_ARG_$*/";
const std::string reportCode17 =
    "/*CODE[17],TYPE[$_ARG_$],ID[$_ARG_$],NUMYDATA[$_ARG_$],$_ARG_$,$_ARG_$,$_ARG_$*/";
const std::string reportCode18 = "/*CODE[18],ID[$_ARG_$],$_ARG_$,$_ARG_$,$_ARG_$*/";
const std::string keywordNotSupported = "KEYWORD \"$_ARG_$\" IS NOT SUPPORTED\n";

// ---- the last row, held eight times ----
const std::string bracketedTriple1 = " [ $_ARG_$ ] [ $_ARG_$ ] [ $_ARG_$ ]";
const std::string bracketedTriple2 = " [ $_ARG_$ ] [ $_ARG_$ ] [ $_ARG_$ ]";
const std::string bracketedTriple3 = " [ $_ARG_$ ] [ $_ARG_$ ] [ $_ARG_$ ]";
const std::string bracketedTriple4 = " [ $_ARG_$ ] [ $_ARG_$ ] [ $_ARG_$ ]";
const std::string bracketedTriple5 = " [ $_ARG_$ ] [ $_ARG_$ ] [ $_ARG_$ ]";
const std::string bracketedTriple6 = " [ $_ARG_$ ] [ $_ARG_$ ] [ $_ARG_$ ]";
const std::string bracketedTriple7 = " [ $_ARG_$ ] [ $_ARG_$ ] [ $_ARG_$ ]";
const std::string bracketedTriple8 = " [ $_ARG_$ ] [ $_ARG_$ ] [ $_ARG_$ ]";

const std::string emptyStrings[2];

namespace {

// Number of rows: 331 rows held once, then the last row held eight times.
constexpr int rowCount = 339;

// Pointers to every row, in catalogue order. Addresses of namespace-scope objects are constant, so this table
// is ready before any row is constructed.
const std::string* const rows[rowCount] = {
    &bareArgument,
    &seeFileLine,
    &cannotOpenInputFile,
    &invalidPointerReturned,
    &errorReadingInputFile,
    &errorReadingEntityNotDefined,
    &errorReadingObjectNotDefined,
    &nothingDefinedInInput,
    &selfDependencyInMpc,
    &zeroDependentDofCoefficient,
    &alreadyConstrainedForMpc,
    &invalidRbeIndependentNode,
    &invalidRbeRigidBodyMotion,
    &zeroPressureDirection,
    &invalidDofTypeValue,
    &onlySingleDofTypeAllowed,
    &unknownAxisType,
    &unrecognizedSubcaseDatalink,
    &unknownSubcaseDatalinkSource,
    &noLayerInCompositeProperty,
    &invalidMaterialData,
    &cannotDefineElementOrientation,
    &negativeXInAxisymmetricElement,
    &missingRadiationCoefficient,
    &invalidMaterialReferenceInProperty,
    &tooFewElementsForCavity,
    &nonUniqueGlobalPlyId,
    &invalidElementFormulationOption,
    &elementCoordinateSystemRequired,
    &notSupportedInThisVersion,
    &fractionalExponentWithFreeConvection,
    &onlyOneIndependentNodeForNonlinearRbe,
    &staticAndDynamicLoadInNonlinearAnalysis,
    &missingTimeInformation,
    &curveFittingFailed,
    &invalidThicknessIntegrationPoint,
    &invalidElementNodeCount,
    &invalidNonlinearSolverParameter,
    &invalidElementTypeForExplicitDynamics,
    &preloadNotSupported,
    &bothConditionsOnSameDof,
    &missingEndtKeyword,
    &noMaterialTemperatureField,
    &initialConditionNotApplicable,
    &compositePropertyNotAssignable,
    &missingMaterialProperty,
    &rigidZoneExceedsHalfLength,
    &materialCoordinateSystemChangedInStage,
    &invalidReleaseDof,
    &dynamicLoadInEquivalentLinearAnalysis,
    &invalidPipeConvectionLine,
    &restartUnitSystemMismatch,
    &restartVersionMismatch,
    &invalidSkeletonCurve,
    &notAssignableInHinge,
    &repeatedNodeInElement,
    &invalidMaterialParameter,
    &imaginaryAutoSpectralDensityInSet,
    &thermalStressRestartWithCreep,
    &pretensionTendonOnImproperPart,
    &invalidObjectParameter,
    &invalidBuffetingParameter,
    &memberAssignmentNeedsMThetaHinge,
    &memberElementAlreadyHasHinge,
    &rigidOffsetInsideMember,
    &invalidInitialMemberForce,
    &sharedSpcForceInSloshing,
    &analysisWithoutDofs,
    &invalidHingeRelationship,
    &errorReadingDatalinkSource,
    &improperDampingMethod,
    &cohesiveZoneNotAssignable,
    &invalidInitialStress,
    &cannotOpenScratchFile,
    &cannotOpenRestartFile,
    &identicalRestartFilenames,
    &cannotResumeResultFile,
    &cannotOpenFieldDataFile,
    &unrecognizedFieldDataFormat,
    &cannotOpenResultFile,
    &negativeJacobianInElement,
    &solNotSupported,
    &errorSearchingObject,
    &eigenvalueComputationFailed,
    &bucklingWithEnhancedTetra,
    &denseEigenWithEnhancedTetra,
    &cannotRunEmlsEigenSolver,
    &factorizationSingularAt,
    &linearSolverError,
    &materialAxisProjectionFailed,
    &excessiveShellDistortion,
    &threadError,
    &improperLinearSolver,
    &matrixTooLargeForSparseDirect,
    &zeroLength1dElement,
    &scratchFileIoFailed,
    &failedToConvergeNonlinear,
    &singularConstitutiveMatrix,
    &cannotComputeConsistentTangent,
    &fatigueModuleMessage,
    &tooManyThicknessPointsForExplicit,
    &zeroCriticalTimeStep,
    &zeroDiagonalMassInExplicit,
    &directionalMpcMassInExplicit,
    &scalarMassOnRotationInExplicit,
    &insufficientMemoryForEigenvectors,
    &eigenFactorizationFailedClustered,
    &solverExecutableTerminated,
    &fatalNumericalErrorInElement,
    &amgFailedToConverge,
    &explicitDivergence,
    &fastenerPatchNotFound,
    &optNotSupported,
    &tooManyFastenerNodesForExplicit,
    &noFlexibleBodyMode,
    &explicitDivergenceAtTime,
    &propertyOnIncompatibleElement,
    &degenerateContactSegment,
    &rigidMaterialInComposite,
    &insufficientMemoryForRitzVectors,
    &multiBodyOverConstrained,
    &singularStiffnessFactorization,
    &zeroStressConstraintLimit,
    &restartElementInconsistent,
    &tensileStressInMaterialModel,
    &materialModelNeedsContinuumElement,
    &materialModelNeedsContinuumElementId,
    &nonPositiveInitialVoidRatio,
    &sensitivityNotSupportedForSol,
    &materialModelWithViscoelastic,
    &cannotComputeElasticCreepTangent,
    &missingDilatancyAngle,
    &shellInterfaceNeedsShell,
    &shellInterfaceWithoutShell,
    &pileNotEmbedded,
    &analysisCanceled,
    &missingGeotechParameter,
    &failedToChangeElementProperty,
    &surfaceInterpolationFailed,
    &invalidSensorInSubcase,
    &directionalNodalMassInExplicit,
    &noStableSlopeEquilibrium,
    &samPolylineIntegrationError,
    &embeddedElementWithoutMother,
    &noMaterialForCPhiReduction,
    &linearCombinationNotSupported,
    &negativeJacobianFromContactAdjustment,
    &valueOutOfRange,
    &cannotComputeCatenaryInitialLength,
    &unstableBucklingMatrix,
    &onlySensorTypeForTopology,
    &onlySingleFrequencySensorForTopology,
    &multiBodyPositionAnalysisFailed,
    &multiBodyRedundantMotion,
    &fluidStructureInteractionError,
    &bushStiffnessNotPositiveDefinite,
    &lineInterfaceWithoutLocalVector,
    &pchOutputWithConsistentMass,
    &errorSearchingContactSlaveNode,
    &cannotDetermineLocalAxis,
    &insufficientMemoryForIpcMode,
    &incompatibleManufacturingConstraints,
    &extrusionCurveBeyondIntersection,
    &extrusionCurveNotContinuous,
    &invalidExtrusionCurve,
    &extrusionCurvatureTooLarge,
    &extrusionPathPerpendicular,
    &extrusionPathIntersects,
    &extrusionPathStraightLine,
    &presingularCheckObjectNotDefined,
    &invalidManufacturingDirection,
    &unreasonableHysteresisData,
    &ibModelPointNotFound,
    &slopeLargerThanInitial,
    &timeStepTooLargeForViscoelastic,
    &negativeBarSectionProperty,
    &negativeAutoSpectralDensity,
    &imaginaryAutoSpectralDensity,
    &materialNotSupportedForTopology,
    &hyperelasticWithoutGeometricNonlinearity,
    &modalDampingMatrixTooLarge,
    &materialModelNeedsUniaxial,
    &rollingCalcTerminated,
    &materialInitialValuesFailed,
    &initialDeformationUndetermined,
    &elementAndHistoryOutputLocationDiffer,
    &importedEigenvaluesUnavailable,
    &failedToConvergeNonlinear2,
    &notAvailableInRitzMethod,
    &hingeCellStrainFailed,
    &hingeCellStressFailed,
    &hingeCellTangentFailed,
    &zeroHingeInitialStiffness,
    &hingeComponentNotAssignable,
    &prescribedDofNotConstrained,
    &incompatibleHingeSet,
    &timeStepTooLargeForRungeKutta,
    &warningTmp,
    &unknownOutputOption,
    &cannotCloseScratchFile,
    &cannotAppendResultData,
    &analysisDataIoFailed,
    &noEquationSolverSet,
    &noConstraintsDefined,
    &unreasonableMaterialData,
    &invalidArgumentValue,
    &singularityFixedAt,
    &frequencyBoundaryTooClose,
    &sturmCheckNotPassed,
    &indefiniteMassMatrix,
    &eigenvectorsNotOrthogonal,
    &eigenvaluesTooClustered,
    &eigenFactorizationFailedSomeLost,
    &negativeStrengthValue,
    &noShiftForEigenSolver,
    &directionalSystemMass,
    &invalidWeightGeneratorGridPoint,
    &invalidModalFactorGridPoint,
    &nonZeroDofsAutoConstrained,
    &temperatureOverriddenByDatalink,
    &singularityFixed,
    &fewEigenvaluesInRange,
    &fewEigenvaluesComputed,
    &sturmCheckPassed,
    &gravityDirectionIgnoredAxisymmetric,
    &compositeWithoutLayerSkipped,
    &offDiagonalMassIgnoredByLumped,
    &mpcWithLumpedMass,
    &failedToConvergeNonlinear3,
    &returnMappingIterationLimit,
    &prestressedStiffnessNotPositiveDefinite,
    &midNodesRelocatedInElement,
    &allMidNodesRelocated,
    &lambdaOutOfRangeElastoPlastic,
    &amgStoppedBeforeConvergence,
    &zeroStefanBoltzmannConstant,
    &segmentWithoutElementIgnored,
    &segmentWithManyElementsIgnored,
    &noMatchingWeldedSegments,
    &contactSurfaceNotFound,
    &contactParameterNotFound,
    &criticalTimeStepUndetermined,
    &dependentNodeOffDiagonalMassIgnored,
    &dofAlreadyConstrainedMpcIgnored,
    &amgIterationLimitTooSmall,
    &amgToleranceTooSmall,
    &subcaseCombinationDiscrepancy,
    &fastenerDiameterTooSmall,
    &designConstraintNotSatisfied,
    &minimumTimeStepReached,
    &dominantFrequencyEstimateFailed,
    &infiniteResponseAtResonance,
    &infiniteResponseFromRigidBodyMode,
    &rigidMembraneMaterial,
    &multiBodyOverConstrainedIgnored,
    &excessiveMeshIrregularity,
    &jointEnforcementError,
    &negativeJacobianInElement2,
    &systemMatrixExceedsMemory,
    &bushStiffnessNotPositiveDefinite2,
    &equivalentLinearNotConverged,
    &porePressureFieldOverridden,
    &variableMassImplicitDynamics,
    &unparallelK0Ignored,
    &pointOutsideInterpolationRange,
    &invalidSensorObject,
    &criticalSafetyFactorNotFound,
    &gaugeHostMaterialNotUnique,
    &initialStressIgnoredFor,
    &onlySingleEntryPerLoadSet,
    &constrainedDofDependenciesDiscarded,
    &duplicatePrescribedValueIgnored,
    &duplicateInitialStressIgnored,
    &behaviorIgnoredForPretension,
    &additionalModesNoGain,
    &insufficientMemoryForElementOutput,
    &gridDampingDiffersByDirection,
    &embeddedElementsWithoutMothers,
    &planeGridShearStressIgnored,
    &targetMassParticipationReduced,
    &duplicateJointsIgnored,
    &noFlexibleBodyMode2,
    &masterSlaveSwitched,
    &interpolationElementMerged,
    &changeElementPropertyWarning,
    &onlyDiagonalLumpedMassPrinted,
    &noTowerInformation,
    &nonMatchingFieldDataEntries,
    &timeStepBelowCriticalInConsolidation,
    &hybridTetraReplacedInEigen,
    &crbWallBaseEdgeUndetermined,
    &timeStepExceedsDuration,
    &rigidBodyPointsNotCoplanar,
    &generalContactNotConverged,
    &noSeparateLoadSetOutput,
    &lambdaMinimumOutOfRange,
    &minimumDimensionTooSmall,
    &zeroCrackingMoment,
    &badlyFormedPartGeometry,
    &insufficientModes,
    &raysweepIntegrationFailed,
    &nonPositiveFlexuralStiffnessFactor,
    &zeroMountingSpringStiffnessChanged,
    &raysweepIntegrationFailed2,
    &rigidOffsetsReplacedByLx,
    &hingeOutputPositionMoved,
    &timeLoadOnInactiveElementIgnored,
    &cannotAssignMemberComponent,
    &interactionHingeReassigned,
    &initialSolutionClearedForSloshing,
    &partialHingeYieldPoints,
    &equalHingeStiffnesses,
    &sameHingeInitialStiffness,
    &elementDofIntegrationPoint,
    &singularityAutoConstrainedAt,
    &zeroYieldDisplacementIncrease,
    &offDiagonalStiffnessIgnored,
    &hingeExcludesSurfaceSpringForces,
    &pDeltaIgnoredForSignChange,
    &progressMessage500,
    &problemInformation600,
    &reportCode0,
    &reportCode3,
    &reportCode10,
    &reportCode13,
    &reportCode14,
    &reportCode15,
    &reportCode16,
    &reportCode17,
    &reportCode18,
    &keywordNotSupported,
    &bracketedTriple1,
    &bracketedTriple2,
    &bracketedTriple3,
    &bracketedTriple4,
    &bracketedTriple5,
    &bracketedTriple6,
    &bracketedTriple7,
    &bracketedTriple8,
};

}  // namespace

const std::string* const* catalogue() { return rows; }

int catalogueSize() { return rowCount; }

}  // namespace messages
}  // namespace Zarn
