// The solver's message catalogue: its error, warning, progress and report-line templates, held as
// process-wide strings.
//
// Each row is a template. `$_ARG_$` stands for one argument, and arguments fill the placeholders from left to
// right; a "\n" inside a text is a line break of the message. This library formats no message and reads
// none of these strings itself: its own failures carry no text (see model/Failure.h). The rows are kept so
// that the solver's whole catalogue is present in the loaded library, and tools and tests can list it.
//
// Lifetime: every row is an ordinary namespace-scope object defined in Messages.cpp, so all of them are
// constructed when the library loads, in the order of the catalogue, and destroyed in reverse order when it
// unloads. They never change in between. Code that runs during another translation unit's static
// initialisation must not read them: the order of initialisation across translation units is unspecified.
//
// Rows are not keyed: a row is reached by its own name. A text that the catalogue holds more than once is
// held as separate rows, the later ones with a numeric suffix (`negativeJacobianInElement2`).
#pragma once

#include <string>

namespace Zarn {
namespace messages {

// ---- errors: the bare placeholder first ----
extern const std::string bareArgument;
extern const std::string seeFileLine;
extern const std::string cannotOpenInputFile;
extern const std::string invalidPointerReturned;
extern const std::string errorReadingInputFile;
extern const std::string errorReadingEntityNotDefined;
extern const std::string errorReadingObjectNotDefined;
extern const std::string nothingDefinedInInput;
extern const std::string selfDependencyInMpc;
extern const std::string zeroDependentDofCoefficient;
extern const std::string alreadyConstrainedForMpc;
extern const std::string invalidRbeIndependentNode;
extern const std::string invalidRbeRigidBodyMotion;
extern const std::string zeroPressureDirection;
extern const std::string invalidDofTypeValue;
extern const std::string onlySingleDofTypeAllowed;
extern const std::string unknownAxisType;
extern const std::string unrecognizedSubcaseDatalink;
extern const std::string unknownSubcaseDatalinkSource;
extern const std::string noLayerInCompositeProperty;
extern const std::string invalidMaterialData;
extern const std::string cannotDefineElementOrientation;
extern const std::string negativeXInAxisymmetricElement;
extern const std::string missingRadiationCoefficient;
extern const std::string invalidMaterialReferenceInProperty;
extern const std::string tooFewElementsForCavity;
extern const std::string nonUniqueGlobalPlyId;
extern const std::string invalidElementFormulationOption;
extern const std::string elementCoordinateSystemRequired;
extern const std::string notSupportedInThisVersion;
extern const std::string fractionalExponentWithFreeConvection;
extern const std::string onlyOneIndependentNodeForNonlinearRbe;
extern const std::string staticAndDynamicLoadInNonlinearAnalysis;
extern const std::string missingTimeInformation;
extern const std::string curveFittingFailed;
extern const std::string invalidThicknessIntegrationPoint;
extern const std::string invalidElementNodeCount;
extern const std::string invalidNonlinearSolverParameter;
extern const std::string invalidElementTypeForExplicitDynamics;
extern const std::string preloadNotSupported;
extern const std::string bothConditionsOnSameDof;
extern const std::string missingEndtKeyword;
extern const std::string noMaterialTemperatureField;
extern const std::string initialConditionNotApplicable;
extern const std::string compositePropertyNotAssignable;
extern const std::string missingMaterialProperty;
extern const std::string rigidZoneExceedsHalfLength;
extern const std::string materialCoordinateSystemChangedInStage;
extern const std::string invalidReleaseDof;
extern const std::string dynamicLoadInEquivalentLinearAnalysis;
extern const std::string invalidPipeConvectionLine;
extern const std::string restartUnitSystemMismatch;
extern const std::string restartVersionMismatch;
extern const std::string invalidSkeletonCurve;
extern const std::string notAssignableInHinge;
extern const std::string repeatedNodeInElement;
extern const std::string invalidMaterialParameter;
extern const std::string imaginaryAutoSpectralDensityInSet;
extern const std::string thermalStressRestartWithCreep;
extern const std::string pretensionTendonOnImproperPart;
extern const std::string invalidObjectParameter;
extern const std::string invalidBuffetingParameter;
extern const std::string memberAssignmentNeedsMThetaHinge;
extern const std::string memberElementAlreadyHasHinge;
extern const std::string rigidOffsetInsideMember;
extern const std::string invalidInitialMemberForce;
extern const std::string sharedSpcForceInSloshing;
extern const std::string analysisWithoutDofs;
extern const std::string invalidHingeRelationship;
extern const std::string errorReadingDatalinkSource;
extern const std::string improperDampingMethod;
extern const std::string cohesiveZoneNotAssignable;
extern const std::string invalidInitialStress;
extern const std::string cannotOpenScratchFile;
extern const std::string cannotOpenRestartFile;
extern const std::string identicalRestartFilenames;
extern const std::string cannotResumeResultFile;
extern const std::string cannotOpenFieldDataFile;
extern const std::string unrecognizedFieldDataFormat;
extern const std::string cannotOpenResultFile;
extern const std::string negativeJacobianInElement;
extern const std::string solNotSupported;
extern const std::string errorSearchingObject;
extern const std::string eigenvalueComputationFailed;
extern const std::string bucklingWithEnhancedTetra;
extern const std::string denseEigenWithEnhancedTetra;
extern const std::string cannotRunEmlsEigenSolver;
extern const std::string factorizationSingularAt;
extern const std::string linearSolverError;
extern const std::string materialAxisProjectionFailed;
extern const std::string excessiveShellDistortion;
extern const std::string threadError;
extern const std::string improperLinearSolver;
extern const std::string matrixTooLargeForSparseDirect;
extern const std::string zeroLength1dElement;
extern const std::string scratchFileIoFailed;
extern const std::string failedToConvergeNonlinear;
extern const std::string singularConstitutiveMatrix;
extern const std::string cannotComputeConsistentTangent;
extern const std::string fatigueModuleMessage;
extern const std::string tooManyThicknessPointsForExplicit;
extern const std::string zeroCriticalTimeStep;
extern const std::string zeroDiagonalMassInExplicit;
extern const std::string directionalMpcMassInExplicit;
extern const std::string scalarMassOnRotationInExplicit;
extern const std::string insufficientMemoryForEigenvectors;
extern const std::string eigenFactorizationFailedClustered;
extern const std::string solverExecutableTerminated;
extern const std::string fatalNumericalErrorInElement;
extern const std::string amgFailedToConverge;
extern const std::string explicitDivergence;
extern const std::string fastenerPatchNotFound;
extern const std::string optNotSupported;
extern const std::string tooManyFastenerNodesForExplicit;
extern const std::string noFlexibleBodyMode;
extern const std::string explicitDivergenceAtTime;
extern const std::string propertyOnIncompatibleElement;
extern const std::string degenerateContactSegment;
extern const std::string rigidMaterialInComposite;
extern const std::string insufficientMemoryForRitzVectors;
extern const std::string multiBodyOverConstrained;
extern const std::string singularStiffnessFactorization;
extern const std::string zeroStressConstraintLimit;
extern const std::string restartElementInconsistent;
extern const std::string tensileStressInMaterialModel;
extern const std::string materialModelNeedsContinuumElement;
extern const std::string materialModelNeedsContinuumElementId;
extern const std::string nonPositiveInitialVoidRatio;
extern const std::string sensitivityNotSupportedForSol;
extern const std::string materialModelWithViscoelastic;
extern const std::string cannotComputeElasticCreepTangent;
extern const std::string missingDilatancyAngle;
extern const std::string shellInterfaceNeedsShell;
extern const std::string shellInterfaceWithoutShell;
extern const std::string pileNotEmbedded;
extern const std::string analysisCanceled;
extern const std::string missingGeotechParameter;
extern const std::string failedToChangeElementProperty;
extern const std::string surfaceInterpolationFailed;
extern const std::string invalidSensorInSubcase;
extern const std::string directionalNodalMassInExplicit;
extern const std::string noStableSlopeEquilibrium;
extern const std::string samPolylineIntegrationError;
extern const std::string embeddedElementWithoutMother;
extern const std::string noMaterialForCPhiReduction;
extern const std::string linearCombinationNotSupported;
extern const std::string negativeJacobianFromContactAdjustment;
extern const std::string valueOutOfRange;
extern const std::string cannotComputeCatenaryInitialLength;
extern const std::string unstableBucklingMatrix;
extern const std::string onlySensorTypeForTopology;
extern const std::string onlySingleFrequencySensorForTopology;
extern const std::string multiBodyPositionAnalysisFailed;
extern const std::string multiBodyRedundantMotion;
extern const std::string fluidStructureInteractionError;
extern const std::string bushStiffnessNotPositiveDefinite;
extern const std::string lineInterfaceWithoutLocalVector;
extern const std::string pchOutputWithConsistentMass;
extern const std::string errorSearchingContactSlaveNode;
extern const std::string cannotDetermineLocalAxis;
extern const std::string insufficientMemoryForIpcMode;
extern const std::string incompatibleManufacturingConstraints;
extern const std::string extrusionCurveBeyondIntersection;
extern const std::string extrusionCurveNotContinuous;
extern const std::string invalidExtrusionCurve;
extern const std::string extrusionCurvatureTooLarge;
extern const std::string extrusionPathPerpendicular;
extern const std::string extrusionPathIntersects;
extern const std::string extrusionPathStraightLine;
extern const std::string presingularCheckObjectNotDefined;
extern const std::string invalidManufacturingDirection;
extern const std::string unreasonableHysteresisData;
extern const std::string ibModelPointNotFound;
extern const std::string slopeLargerThanInitial;
extern const std::string timeStepTooLargeForViscoelastic;
extern const std::string negativeBarSectionProperty;
extern const std::string negativeAutoSpectralDensity;
extern const std::string imaginaryAutoSpectralDensity;
extern const std::string materialNotSupportedForTopology;
extern const std::string hyperelasticWithoutGeometricNonlinearity;
extern const std::string modalDampingMatrixTooLarge;
extern const std::string materialModelNeedsUniaxial;
extern const std::string rollingCalcTerminated;
extern const std::string materialInitialValuesFailed;
extern const std::string initialDeformationUndetermined;
extern const std::string elementAndHistoryOutputLocationDiffer;
extern const std::string importedEigenvaluesUnavailable;
extern const std::string failedToConvergeNonlinear2;
extern const std::string notAvailableInRitzMethod;
extern const std::string hingeCellStrainFailed;
extern const std::string hingeCellStressFailed;
extern const std::string hingeCellTangentFailed;
extern const std::string zeroHingeInitialStiffness;
extern const std::string hingeComponentNotAssignable;
extern const std::string prescribedDofNotConstrained;
extern const std::string incompatibleHingeSet;
extern const std::string timeStepTooLargeForRungeKutta;

// ---- the row that closes the errors; the warnings follow it ----
extern const std::string warningTmp;

// ---- warnings ----
extern const std::string unknownOutputOption;
extern const std::string cannotCloseScratchFile;
extern const std::string cannotAppendResultData;
extern const std::string analysisDataIoFailed;
extern const std::string noEquationSolverSet;
extern const std::string noConstraintsDefined;
extern const std::string unreasonableMaterialData;
extern const std::string invalidArgumentValue;
extern const std::string singularityFixedAt;
extern const std::string frequencyBoundaryTooClose;
extern const std::string sturmCheckNotPassed;
extern const std::string indefiniteMassMatrix;
extern const std::string eigenvectorsNotOrthogonal;
extern const std::string eigenvaluesTooClustered;
extern const std::string eigenFactorizationFailedSomeLost;
extern const std::string negativeStrengthValue;
extern const std::string noShiftForEigenSolver;
extern const std::string directionalSystemMass;
extern const std::string invalidWeightGeneratorGridPoint;
extern const std::string invalidModalFactorGridPoint;
extern const std::string nonZeroDofsAutoConstrained;
extern const std::string temperatureOverriddenByDatalink;
extern const std::string singularityFixed;
extern const std::string fewEigenvaluesInRange;
extern const std::string fewEigenvaluesComputed;
extern const std::string sturmCheckPassed;
extern const std::string gravityDirectionIgnoredAxisymmetric;
extern const std::string compositeWithoutLayerSkipped;
extern const std::string offDiagonalMassIgnoredByLumped;
extern const std::string mpcWithLumpedMass;
extern const std::string failedToConvergeNonlinear3;
extern const std::string returnMappingIterationLimit;
extern const std::string prestressedStiffnessNotPositiveDefinite;
extern const std::string midNodesRelocatedInElement;
extern const std::string allMidNodesRelocated;
extern const std::string lambdaOutOfRangeElastoPlastic;
extern const std::string amgStoppedBeforeConvergence;
extern const std::string zeroStefanBoltzmannConstant;
extern const std::string segmentWithoutElementIgnored;
extern const std::string segmentWithManyElementsIgnored;
extern const std::string noMatchingWeldedSegments;
extern const std::string contactSurfaceNotFound;
extern const std::string contactParameterNotFound;
extern const std::string criticalTimeStepUndetermined;
extern const std::string dependentNodeOffDiagonalMassIgnored;
extern const std::string dofAlreadyConstrainedMpcIgnored;
extern const std::string amgIterationLimitTooSmall;
extern const std::string amgToleranceTooSmall;
extern const std::string subcaseCombinationDiscrepancy;
extern const std::string fastenerDiameterTooSmall;
extern const std::string designConstraintNotSatisfied;
extern const std::string minimumTimeStepReached;
extern const std::string dominantFrequencyEstimateFailed;
extern const std::string infiniteResponseAtResonance;
extern const std::string infiniteResponseFromRigidBodyMode;
extern const std::string rigidMembraneMaterial;
extern const std::string multiBodyOverConstrainedIgnored;
extern const std::string excessiveMeshIrregularity;
extern const std::string jointEnforcementError;
extern const std::string negativeJacobianInElement2;
extern const std::string systemMatrixExceedsMemory;
extern const std::string bushStiffnessNotPositiveDefinite2;
extern const std::string equivalentLinearNotConverged;
extern const std::string porePressureFieldOverridden;
extern const std::string variableMassImplicitDynamics;
extern const std::string unparallelK0Ignored;
extern const std::string pointOutsideInterpolationRange;
extern const std::string invalidSensorObject;
extern const std::string criticalSafetyFactorNotFound;
extern const std::string gaugeHostMaterialNotUnique;
extern const std::string initialStressIgnoredFor;
extern const std::string onlySingleEntryPerLoadSet;
extern const std::string constrainedDofDependenciesDiscarded;
extern const std::string duplicatePrescribedValueIgnored;
extern const std::string duplicateInitialStressIgnored;
extern const std::string behaviorIgnoredForPretension;
extern const std::string additionalModesNoGain;
extern const std::string insufficientMemoryForElementOutput;
extern const std::string gridDampingDiffersByDirection;
extern const std::string embeddedElementsWithoutMothers;
extern const std::string planeGridShearStressIgnored;
extern const std::string targetMassParticipationReduced;
extern const std::string duplicateJointsIgnored;
extern const std::string noFlexibleBodyMode2;
extern const std::string masterSlaveSwitched;
extern const std::string interpolationElementMerged;
extern const std::string changeElementPropertyWarning;
extern const std::string onlyDiagonalLumpedMassPrinted;
extern const std::string noTowerInformation;
extern const std::string nonMatchingFieldDataEntries;
extern const std::string timeStepBelowCriticalInConsolidation;
extern const std::string hybridTetraReplacedInEigen;
extern const std::string crbWallBaseEdgeUndetermined;
extern const std::string timeStepExceedsDuration;
extern const std::string rigidBodyPointsNotCoplanar;
extern const std::string generalContactNotConverged;
extern const std::string noSeparateLoadSetOutput;
extern const std::string lambdaMinimumOutOfRange;
extern const std::string minimumDimensionTooSmall;
extern const std::string zeroCrackingMoment;
extern const std::string badlyFormedPartGeometry;
extern const std::string insufficientModes;
extern const std::string raysweepIntegrationFailed;
extern const std::string nonPositiveFlexuralStiffnessFactor;
extern const std::string zeroMountingSpringStiffnessChanged;
extern const std::string raysweepIntegrationFailed2;
extern const std::string rigidOffsetsReplacedByLx;
extern const std::string hingeOutputPositionMoved;
extern const std::string timeLoadOnInactiveElementIgnored;
extern const std::string cannotAssignMemberComponent;
extern const std::string interactionHingeReassigned;
extern const std::string initialSolutionClearedForSloshing;
extern const std::string partialHingeYieldPoints;
extern const std::string equalHingeStiffnesses;
extern const std::string sameHingeInitialStiffness;
extern const std::string elementDofIntegrationPoint;
extern const std::string singularityAutoConstrainedAt;
extern const std::string zeroYieldDisplacementIncrease;
extern const std::string offDiagonalStiffnessIgnored;
extern const std::string hingeExcludesSurfaceSpringForces;
extern const std::string pDeltaIgnoredForSignChange;

// ---- progress and problem information, then report lines with a numeric code ----
extern const std::string progressMessage500;
extern const std::string problemInformation600;
extern const std::string reportCode0;
extern const std::string reportCode3;
extern const std::string reportCode10;
extern const std::string reportCode13;
extern const std::string reportCode14;
extern const std::string reportCode15;
extern const std::string reportCode16;
extern const std::string reportCode17;
extern const std::string reportCode18;
extern const std::string keywordNotSupported;

// ---- the last row, held eight times as eight separate strings ----
extern const std::string bracketedTriple1;
extern const std::string bracketedTriple2;
extern const std::string bracketedTriple3;
extern const std::string bracketedTriple4;
extern const std::string bracketedTriple5;
extern const std::string bracketedTriple6;
extern const std::string bracketedTriple7;
extern const std::string bracketedTriple8;

// Two empty strings kept behind the last row.
extern const std::string emptyStrings[2];

// All rows in catalogue order, from `bareArgument` to `bracketedTriple8` (the two empty strings are not
// rows). Returns a pointer to `catalogueSize()` non-owning pointers, one for each row; the array and the
// strings live until the library unloads. Rows that hold the same text are distinct objects.
const std::string* const* catalogue();

// Number of rows in the catalogue: 339.
int catalogueSize();

}  // namespace messages
}  // namespace Zarn
